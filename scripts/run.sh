#!/usr/bin/env bash
# The main job: builds and installs the module, then runs the reference server
# with the demo accounts in a temporary folder until interrupted (Ctrl-C).
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$here/scripts/build.sh"
build="${KVMESS_BUILD_DIR:-$here/build}"
cmake --install "$build" --prefix "$build/prefix"
echo "KvMess installed under $build/prefix (find_package(KvMess) with CMAKE_PREFIX_PATH=$build/prefix)"
data="$(mktemp -d)"
trap 'rm -rf "$data"' EXIT
exec /usr/bin/python3 "$here/server/run_server.py" --data "$data"
