#!/usr/bin/env bash
# Drives tarnkit-reg as an administrator would: set values of every type,
# export a key, edit the file with sed, import it back and query it; then
# the exit codes and messages of the failures. Runs in a store of its own.
set -u
tool=$1
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
export TARNKIT_REGISTRY_DIR=$dir/machine XDG_CONFIG_HOME=$dir/user
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

# run CODE ARGS...: runs the tool, keeps stdout/stderr, checks the exit code.
run() {
  local want=$1; shift
  "$tool" "$@" >"$dir/out" 2>"$dir/err"
  local got=$?
  [ "$got" -eq "$want" ] || fail "tarnkit-reg $* exited $got, not $want: $(cat "$dir/err")"
}
# same OUTPUT EXPECTED: compares the last stdout with the expected text.
same() { [ "$(cat "$dir/out")" = "$1" ] || fail "expected [$1], got [$(cat "$dir/out")]"; }
says() { grep -qF -- "$1" "$dir/err" || fail "stderr lacks [$1]: $(cat "$dir/err")"; }

key='HKLM\Software\Ostrand Group\10.5\Logging'
run 0 set "$key" MaxLogFileSize dword 0x100000
run 0 set "$key" loggingPath string /var/log/suite
run 0 set "$key" Expanded expand '%HOME%/x'
run 0 set "$key" Blob hex 01,ff,00
run 0 set "$key" Multi multi a 'b c'
run 0 set "$key" '' string 'the default'
run 0 set 'HKLM\Software\Ostrand Group\10.5\Other' Count dword 7

run 0 query "$key" MaxLogFileSize --data; same 1048576
run 0 query "$key" Multi --data; same $'a\nb c'
run 0 query "$key" Blob; same '"Blob"=hex:01,ff,00'
run 0 query "$key" ''; same '@="the default"'
run 0 query 'HKLM\Software\Ostrand Group\10.5'
same $'[HKEY_LOCAL_MACHINE\\Software\\Ostrand Group\\10.5]\n\n[HKEY_LOCAL_MACHINE\\Software\\Ostrand Group\\10.5\\Logging]\n[HKEY_LOCAL_MACHINE\\Software\\Ostrand Group\\10.5\\Other]'

# Export, edit, import back, query.
run 0 export 'HKLM\Software\Ostrand Group' "$dir/group.reg"
head -1 "$dir/group.reg" | grep -qx 'Tarnkit Registry Export 1' || fail "no version line"
sed -i -e 's/"MaxLogFileSize"=dword:00100000/"MaxLogFileSize"=dword:00200000/' \
       -e 's|"loggingPath"="/var/log/suite"|"loggingPath"="/srv/log"|' "$dir/group.reg"
run 0 import "$dir/group.reg"
run 0 query "$key" MaxLogFileSize --data; same 2097152
run 0 query "$key" loggingPath --data; same /srv/log
run 0 query "$key" Expanded; same '"Expanded"=expand:"%HOME%/x"'

# Through pipes: copy the machine's key to the user's store.
"$tool" export 'HKLM\Software\Ostrand Group' | sed 's/^\[HKEY_LOCAL_MACHINE/[HKEY_CURRENT_USER/' | "$tool" import ||
  fail "piped import"
run 0 query 'HKCU\Software\Ostrand Group\10.5\Other' Count --data; same 7
[ -f "$dir/user/tarnkit/registry.db" ] || fail "the user's store was not made"

# A malformed file is refused with its line, and nothing changes.
"$tool" export HKLM >"$dir/before.reg"
printf 'Tarnkit Registry Export 1\n[HKLM\\Software\\New]\n"a"="1"\n"b"=dword:xyz\n' >"$dir/bad.reg"
run 2 import "$dir/bad.reg"; says 'line 4: expected hex digits for a dword'
"$tool" export HKLM >"$dir/after.reg"
cmp -s "$dir/before.reg" "$dir/after.reg" || fail "a refused import changed the store"

# Exit codes: 1 not found, 2 usage, 3 store failure.
run 1 query 'HKLM\Software\Missing'; says 'not found'
run 1 query "$key" missing
run 1 delete "$key" missing
run 1 import "$dir/no-such-file.reg"
run 2
run 2 frobnicate; says "unknown command"
run 2 query 'HKEY_NOWHERE\x'; says 'does not start with HKEY_LOCAL_MACHINE'
run 2 set "$key" v number 1; says 'unknown type "number"'
run 2 set "$key" v dword 4294967296; says 'is no dword'
run 2 set "$key" v hex 0g; says 'no hex digit'
run 2 set "$key" v string a b; says 'exactly one DATA'
run 2 delete 'HKLM\Software\Ostrand Group'; says 'it has subkeys'
run 2 delete HKLM --recursive; says 'a root cannot be deleted'
run 0 delete "$key" Blob
run 1 query "$key" Blob
run 0 delete 'HKLM\Software\Ostrand Group' --recursive
run 1 query 'HKLM\Software\Ostrand Group'
mkdir -p "$dir/broken" && echo "this is no store" >"$dir/broken/registry.db"
TARNKIT_REGISTRY_DIR=$dir/broken run 3 query 'HKLM\Software'; says 'damaged'

# The help teaches every command and the file format.
run 0 --help
for word in query set delete export import string expand dword hex multi --recursive --data 'Exit status' \
            'Tarnkit Registry Export 1' sed; do
  grep -qF -- "$word" "$dir/out" || fail "--help does not mention $word"
done

[ "$failures" -eq 0 ] && echo "all tarnkit-reg checks passed"
exit $((failures > 0))
