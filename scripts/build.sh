#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs what is missing, then configures and builds into $KVMESS_BUILD_DIR
# (default build/). Arguments go to `cmake --build`, e.g. --target kvmess-console.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$here/scripts/install-deps.sh"
build="${KVMESS_BUILD_DIR:-$here/build}"
cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" "$@"
