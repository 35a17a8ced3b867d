#!/usr/bin/env bash
# usage: outside_program.sh CMAKE BUILD_DIR SOURCE_DIR CXX LIBDIR SANITIZERS
set -euo pipefail
cmake=$1 build=$2 source=$3 cxx=$4 libdir=$5 sanitizers=$6
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
flags=${sanitizers:+-fsanitize=$sanitizers}

"$cmake" --install "$build" --prefix "$work/prefix" >/dev/null
mv "$work/prefix" "$work/moved"

# The first program in the README is the example, so that it can't go stale.
awk '/^```cpp$/ {on = 1; next} on && /^```$/ {exit} on' "$source/README.md" >"$work/readme.cpp"
sed 1d "$source/examples/first_steps.cpp" | diff - "$work/readme.cpp"

cp -r "$source/tests/install/outside" "$work/outside"
cp "$work/readme.cpp" "$work/outside/main.cpp"
"$cmake" -S "$work/outside" -B "$work/outside/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/moved" \
    -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
"$cmake" --build "$work/outside/build" >/dev/null
expected=$'Malmö: 362133\nLima: 10092000'
[ "$("$work/outside/build/outside")" = "$expected" ]

export PKG_CONFIG_PATH="$work/moved/$libdir/pkgconfig"
# shellcheck disable=SC2046
"$cxx" -std=c++17 $flags "$work/outside/main.cpp" $(pkg-config --cflags --libs qxdbagent) -o "$work/by_pkgconfig"
[ "$(LD_LIBRARY_PATH="$work/moved/$libdir" "$work/by_pkgconfig")" = "$expected" ]

"$work/moved/bin/qxdb" --version
"$work/moved/bin/qxdbserver" --version
