#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Puts the license line at the top of every source file (.cpp .h .py .sh
# CMakeLists.txt) under the given folders of this repository (default: src apps
# tests bench tools server scripts) that lacks one. Safe to run again: a file
# that names its license in its first five lines is left alone.
#   tools/spdx-stamp.sh [--check] [folder...]
# --check changes nothing and lists the files without the line (exit 1 if any).
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
check=0
if [ "${1:-}" = "--check" ]; then
    check=1
    shift
fi
folders=("$@")
[ ${#folders[@]} -gt 0 ] || folders=(src apps tests bench tools server scripts)
cd "$here"
missing=0
while IFS= read -r -d '' file; do
    head -n 5 "$file" | grep -q 'SPDX-License-Identifier:' && continue
    missing=1
    if [ $check -eq 1 ]; then
        echo "$file"
        continue
    fi
    case "$file" in
        *.cpp|*.h) line='// SPDX-License-Identifier: MIT' ;;
        *) line='# SPDX-License-Identifier: MIT' ;;
    esac
    # A script's #! line, and a Python coding line, stay first.
    first="$(head -n 1 "$file")"
    if [[ "$first" == '#!'* ]]; then
        { printf '%s\n%s\n' "$first" "$line"; tail -n +2 "$file"; } > "$file.spdx"
    else
        { printf '%s\n' "$line"; cat "$file"; } > "$file.spdx"
    fi
    chmod --reference="$file" "$file.spdx"
    mv "$file.spdx" "$file"
    echo "stamped $file"
done < <(find "${folders[@]}" \( -name build -o -name .git -o -name node_modules -o -name __pycache__ \) -prune -o \
    -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.py' -o -name '*.sh' -o -name CMakeLists.txt \) -print0 | sort -z)
[ $check -eq 0 ] || exit $missing
