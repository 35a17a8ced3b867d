#!/usr/bin/env bash
# The tree keeps to scripts/arrows, and a tree that doesn't is told by file and line: refused.sh SOURCE_DIR
set -euo pipefail
check="$1/scripts/check-includes"
"$check" "$1"

tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
mkdir -p "$tree"/{scripts,util,adapter/sqlite,include/qxdb,newcomer}
cp "$1/scripts/arrows" "$tree/scripts/"
printf '#include <string>\n#include "util/text.h"\n#include "adapter/page.h"\n' >"$tree/util/up.cpp"
printf '#include "adapter/page.h"\n#include "adapter/mysql/rows.h"\n' >"$tree/adapter/sqlite/sideways.h"
printf '#include "rows.h"\n' >"$tree/adapter/sqlite/nearby.h"
printf '#include "util/text.h"\n' >"$tree/include/qxdb/Inward.h"
printf '#include <cstddef>\n' >"$tree/newcomer/unknown.cpp"
cat >"$tree/expected" <<'END'
adapter/sqlite/nearby.h:1: rows.h is not named by its folder
adapter/sqlite/sideways.h:2: adapter/sqlite must not include from adapter/mysql
include/qxdb/Inward.h:1: a public header includes util/text.h
newcomer/unknown.cpp:1: newcomer has no line in scripts/arrows
util/up.cpp:3: util must not include from adapter
END
if "$check" "$tree" >"$tree/said"; then
    echo "wrong includes passed" >&2
    exit 1
fi
diff "$tree/expected" "$tree/said"

sed -i 's/^util .*/util platform adapter/' "$tree/scripts/arrows"
"$check" "$tree" >"$tree/said" && { echo "an arrow up passed" >&2; exit 1; }
grep -qx 'scripts/arrows:[0-9]*: adapter does not stand above util' "$tree/said"
