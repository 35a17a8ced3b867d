#!/usr/bin/env bash
# usage: exported_symbols.sh OBJECTS ADAPTER AGENT [OBJDUMP]: fails when a library exports a name of ours
# that does not belong to one of its public classes. With OBJDUMP they are Windows libraries.
set -euo pipefail
objdump=${4:-}
kinds='(vtable|typeinfo|typeinfo name|VTT|non-virtual thunk|virtual thunk|guard variable) (for|to) '
names_in() {
    if [ -n "$objdump" ]; then
        "$objdump" -p "$1" | sed -n '/^\[Ordinal\/Name Pointer\]/,/^$/s/.*\] //p' | c++filt
    else
        nm -D --defined-only -C "$1" | cut -d' ' -f3-
    fi
}
exported() {
    names_in "$1" | grep -vE '^[^(]* (std|__gnu_cxx)::' | grep -E "^($kinds)?(CQXDB|CQXBASE)::" || true
}
check() {
    local names stray
    names=$(exported "$1")
    [ -n "$names" ] || { echo "$1 exports nothing"; exit 1; }
    stray=$(grep -vE "^($kinds)?($2)(::|\$)" <<<"$names" || true)
    [ -z "$stray" ] || { echo "$1 also exports:"; echo "$stray"; exit 1; }
}
check "$1" 'CQXBASE::QXIOBase|CQXDB::QX(Value|DateTime|DataSource|ProxyInfo|SvrInfo|Command|CommandBase|CommandList|Column|Recordset|RsList|Counts|CountList)'
check "$2" 'CQXDB::Cancellation|CQXDB::DBMgrBase|CQXDB::DBMgr|CQXDB::DBMgrWithPOCO'
check "$3" 'CQXDB::DBAgent|CQXDB::QXCursor|CQXDB::QXOtpAuth'
