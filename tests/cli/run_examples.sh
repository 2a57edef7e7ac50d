#!/usr/bin/env bash
# Runs every example job through the ggraph program and checks its exit status and outputs.
set -u
ggraph=$1; root=$2
"$ggraph" --version >/dev/null || { echo "ggraph --version failed"; exit 1; }
