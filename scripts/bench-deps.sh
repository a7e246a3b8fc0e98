#!/usr/bin/env bash
# Installs the peer equalisers the LV2 benchmark host (bench/lv2-peers)
# measures against, and the LV2 tools it runs with; never needed by the tests.
set -euo pipefail
DEPS_LABEL=bench-deps exec bash "$(dirname "$0")/deps.sh" \
  liblilv-dev lilv-utils lv2-dev \
  lsp-plugins-lv2 x42-plugins calf-plugins zam-plugins
