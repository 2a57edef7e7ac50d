#!/usr/bin/env bash
# Opens a report in headless Chromium and saves a screenshot of it, to look at what a reader sees.
# Usage: scripts/screenshot-report.sh REPORT.html OUT.png [WIDTH HEIGHT]
set -euo pipefail
report=$(realpath "$1")
png=$2
width=${3:-1280}
height=${4:-4000}
bash "$(dirname "$0")/install-deps.sh" --browser
profile=$(mktemp -d)
trap 'rm -rf "$profile"' EXIT
chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
  --disable-background-networking --disable-component-update --disable-sync \
  --user-data-dir="$profile" --hide-scrollbars --window-size="$width,$height" \
  --screenshot="$png" "file://$report" 2>/dev/null
echo "Screenshot: $png"
