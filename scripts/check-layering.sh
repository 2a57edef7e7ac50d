#!/usr/bin/env bash
# The command library (src/ggraph) may include only src/platform, its own headers and the
# standard library; it must not throw exceptions of its own.
set -u
src=${1:-src}
bad=$(grep -rnE '#include\s*[<"](host/|cairo|pango|pugixml|nlohmann|fmt/|boost/|CLI/)' "$src/ggraph" 2>/dev/null)
throws=$(grep -rnE '\bthrow\b[^;]*[A-Za-z(]' "$src/ggraph" 2>/dev/null | grep -v 'throw;' | grep -v '^\s*//')
if [ -n "$bad" ]; then
  echo "src/ggraph reaches beyond platform/:"; echo "$bad"; exit 1
fi
if [ -n "$throws" ]; then
  echo "src/ggraph throws exceptions of its own:"; echo "$throws"; exit 1
fi
exit 0
