#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the demo need, but only those missing.
# Usage: scripts/install-deps.sh [--bench] [--browser]
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config ccache
  libcairo2-dev libpango1.0-dev fonts-dejavu-core
  libpugixml-dev nlohmann-json3-dev libboost-math-dev
  libfast-float-dev libutfcpp-dev libcli11-dev libfmt-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  default-jdk-headless
)
for arg in "$@"; do
  case "$arg" in
    --bench) packages+=(python3-pandas python3-matplotlib) ;;
    --browser) packages+=(chromium) ;;
    --pdf) packages+=(poppler-utils) ;;
  esac
done

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
