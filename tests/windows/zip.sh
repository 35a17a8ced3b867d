#!/usr/bin/env bash
# usage: zip.sh CPACK BUILD_DIR SOURCE_DIR CMAKE CXX OBJDUMP WINE: packs the zip, and proves on an unpacked
# copy of it, with nothing else in reach, that it is all a user needs.
set -euo pipefail
cpack=$1 build=$2 source=$3 cmake=$4 cxx=$5 objdump=$6 wine=$7
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "$*" >&2; exit 1; }

(cd "$build" && "$cpack" -G ZIP -B "$work/packed" >"$work/log" 2>&1) || { cat "$work/log" >&2; exit 1; }
cd "$work"
"$cmake" -E tar xf "$work"/packed/QXDBAgent-*-win64.zip
mv QXDBAgent-*-win64 unpacked
bin=$work/unpacked/bin

# Each imported library is in the folder, or every Windows has it.
system=' advapi32 bcrypt crypt32 gdi32 iphlpapi kernel32 msvcrt mswsock netapi32 odbc32 shell32 user32 ws2_32 '
for file in "$bin"/*.exe "$bin"/*.dll; do
    names=$("$objdump" -p "$file" | sed -n 's/^\tDLL Name: //p')
    [ -n "$names" ] || fail "$file imports nothing"
    for name in $names; do
        lower=${name,,}
        [ -f "$bin/$name" ] || [[ $system == *" ${lower%.dll} "* ]] || fail "${file##*/} needs $name"
    done
done

unset WINEPATH
expect() { [ "$1" = "$2" ] || fail "got: $1"$'\n'"expected: $2"; }
expect "$("$wine" "$bin/qxdb.exe" --db "sqlite:$work/a.db" --format csv -c 'SELECT 6 * 7 AS n')" $'n\r\n42\r'
echo secret | "$wine" "$bin/qxdbserver.exe" --data "$work/data" user add ann
expect "$("$wine" "$bin/qxdbserver.exe" --data "$work/data" user list | tr -d '\r')" $'ann\t*'

# The README's program, built from the unpacked headers and import libraries alone.
cp -r "$source/tests/install/outside" outside
cp "$source/examples/first_steps.cpp" outside/main.cpp
"$cmake" -S outside -B outside/build -G Ninja -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_PREFIX_PATH="$work/unpacked" >/dev/null
"$cmake" --build outside/build >/dev/null
"$cxx" -std=c++17 -I unpacked/include outside/main.cpp -o outside/build/by_hand.exe \
    -L unpacked/lib -lQXDBAgent_x64 -lQXDBObjects_x64
for program in outside by_hand; do
    cp "outside/build/$program.exe" "$bin/"
    expect "$("$wine" "$bin/$program.exe" | tr -d '\r')" $'Malmö: 362133\nLima: 10092000'
done
