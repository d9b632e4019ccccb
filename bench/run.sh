#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the benchmarks, runs them one after the other and prints one table.
# Arguments go to report.py (--quick for short runs).
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
targets=()
for source in "$here"/bench/bench_*.cpp; do
    targets+=("$(basename "$source" .cpp)")
done
"$here/scripts/build.sh" --target "${targets[@]}"
exec /usr/bin/python3 "$here/bench/report.py" --build "${KVMESS_BUILD_DIR:-$here/build}" "$@"
