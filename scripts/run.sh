#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The main job: builds the module and its console host, starts the reference
# server with the demo accounts in a temporary folder, plays a short
# conversation between zhangwei and chenjing through two console hosts, prints
# what each side stored, and stops the server.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$here/scripts/build.sh" --target kvmess-console kvmess-desktop
build="${KVMESS_BUILD_DIR:-$here/build}"
exec /usr/bin/python3 "$here/scripts/demo.py" --console "$build/apps/console/kvmess-console" \
    --desktop "$build/apps/desktop/kvmess-desktop" "$@"
