#!/usr/bin/env bash
# Runs the demo application in a temporary folder and checks what it prints and the log it
# leaves, apart from dates, times and thread identities.
# Usage: demo_test.sh ZUL_DEMO CONFIG_FILE
set -uo pipefail
demo=$1; config=$2
tmp=$(mktemp -d); trap 'rm -rf "$tmp"' EXIT
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

"$demo" "$config" "$tmp" >"$tmp/out" 2>"$tmp/err" || fail "exit status $?: $(cat "$tmp/err")"
out=$(cat "$tmp/out")
log=$(cat "$tmp/zul_demo.log" 2>/dev/null)
while IFS= read -r want; do
    [[ $out == *"$want"* ]] || fail "output lacks: $want"
done <<'LINES'
The log file: 
     CAUSE: DecodeException: not found value begin tag, token
        AT: __doParser(zul/pml/pml_parser.h:
     CAUSE: Malformed XML Attribute - string literal expected, but no beginning quote (") found.
        AT: parse(zul/xml/XMLInStream.cpp:48)
CALL STACK: onWork_i(zul/mt/simple_thread.cpp:
	Congratulations! No memory leaked.
LINES
while IFS= read -r want; do
    [[ $log == *"$want"* ]] || fail "log lacks: $want"
done <<'LINES'
[ZUL][INFO]{counter} loaded counter(rounds(3)step(2)label(counting))
[ZUL][INFO]{counter} counting round 3, total 6
[ZUL][INFO]{echo} saved echo(rounds(2)step(1)label(echoing))
[ZUL][INFO]{broken} caught DecodeException: not found value begin tag, token
[ZUL][INFO] demo started, code page 65001
 onBirth( counter ) ...
[ZUL][THROWING]{broken} 
LINES
[[ ! -s "$tmp/err" ]] || fail "standard error: $(cat "$tmp/err")"
[[ $(ls "$tmp") == $'err\nout\nzul_demo.log' ]] || fail "left behind: $(ls "$tmp")"
((failures == 0)) && echo "demo: all checks passed"
exit $((failures != 0))
