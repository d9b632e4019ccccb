#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the module and runs the whole test suite. Installs what it needs on Debian 12.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$here/scripts/build.sh"
cd "${KVMESS_BUILD_DIR:-$here/build}"
ctest --output-on-failure --timeout 600 "$@"
