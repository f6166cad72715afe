#!/usr/bin/env bash
# Drives the built zul tool as a process on files in a temporary folder: every subcommand,
# every exit code, exact texts, and in-place rewriting that keeps a file whole on error.
# Usage: zul_tool_test.sh ZUL_EXECUTABLE EXAMPLES_DIR VERSION
set -uo pipefail
zul=$1; examples=$2; version=$3
tmp=$(mktemp -d); trap 'rm -rf "$tmp"' EXIT
cd "$tmp" || exit 1
failures=0

fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

# run RC [STDIN_FILE] -- ARGS...: runs the tool, checks the exit code, leaves out/err.
run() {
    local rc=$1 input=/dev/null; shift
    if [[ $1 != -- ]]; then input=$1; shift; fi
    shift
    "$zul" "$@" <"$input" >out 2>err
    local got=$?
    [[ $got == "$rc" ]] || fail "zul $* -> exit $got, expected $rc ($(head -c 300 err))"
}
expect_out() { [[ $(cat out) == "$1" ]] || fail "stdout of '$2': $(cat out)"; }
# A failure is exactly one line on standard error, starting with "zul: ".
expect_err_line() {
    [[ $(wc -l <err) == 1 && $(head -c 5 err) == "zul: " ]] || fail "stderr of '$1': $(cat err)"
}

# ---- help and version ----
run 0 -- --version; expect_out "zul $version" --version
for cmd in "" "pml" "pml format" "pml check" "pml get" "xml" "xml format" "xml check" \
    "xml get" "base64" "des" "config"; do
    # shellcheck disable=SC2086
    run 0 -- $cmd --help
    [[ $(head -c 10 out) == "Usage: zul" ]] || fail "help of '$cmd'"
done

# ---- usage errors: exit 2 and one line ----
while IFS='|' read -r args; do
    # shellcheck disable=SC2086
    run 2 -- $args; expect_err_line "$args"
done <<'EOF'

frob
--frob
pml
pml frob
pml format --mode weird
pml format --pattern name,size
pml format --mode
pml format --frob
pml format --in-place
pml check --frob
pml get x.pml
pml get a b c
xml
xml frob
xml format --frob
xml format --in-place
xml format -i -
xml get x.xml
base64
base64 rot13
base64 encode a b
des
des rot13 -k 00
des encrypt
des encrypt --key-hex
des encrypt -k 0
des encrypt -k 0g
des encrypt -k 000102030405060708
des encrypt -k 00 a b
EOF

# ---- format: every layout of one tree, exact texts ----
echo 'cfg(level:int(3)names(:s(a b):s(x))dir("C:/tmp"))' >tree.pml
run 0 -- pml format -m compact tree.pml
expect_out 'cfg(level:int(3)names(:s(a b):s(x))dir("C:/tmp"))' compact
simple=$'cfg(\n    level:int(3)\n    names(\n        :s(a b)\n        :s(x)\n    )\n    dir("C:/tmp")\n)'
run 0 tree.pml -- pml format --mode=simple; expect_out "$simple" simple
run 0 tree.pml -- pml format -; expect_out "$simple" "formatted from stdin"
run 0 -- pml format --mode mixed tree.pml
expect_out $'cfg(level:int(3)names(\n        :s(a b)\n        :s(x)\n)dir("C:/tmp"))' mixed
run 0 -- pml format --pattern name,type,value,path tree.pml
[[ $(sed -n 5p out) == '        (* /names/[1] *) :s(x)' ]] || fail "path comments: $(cat out)"
run 0 -- pml format -m compact -p type,value tree.pml
expect_out '(:int(3)(:s(a b):s(x))("C:/tmp"))' "pattern type,value"
run 0 -- pml format -m COMPACT -p none tree.pml; expect_out '(()(()())())' "pattern none"
: >empty.pml; run 0 -- pml format empty.pml; expect_out "" "empty file"

# Every layout of the sample reads back as the same tree.
run 0 -- pml format -m compact "$examples/config.pml"; cp out compact.txt
for mode in compact simple mixed formatted; do
    "$zul" pml format -m "$mode" -p name,type,value,path "$examples/config.pml" >"$mode.pml"
    run 0 -- pml format -m compact "$mode.pml"
    cmp -s out compact.txt || fail "round trip through $mode"
done

# ---- check ----
run 0 -- pml check "$examples/config.pml" tree.pml; expect_out "" "check of good files"
run 1 -- pml check "$examples/broken.pml"
[[ $(cat err) == "zul: $examples/broken.pml:6: DecodeException: not found value begin tag, token" ]] \
    || fail "broken.pml message: $(cat err)"
printf 'a(1)\n(* fine *)\n  b(2)\n' >two.pml
printf 'a(1)\nb:t' >cut.pml
printf 'a(\n  b(1)\n  c(\n    d(2)' >open.pml
printf "(* ( *)\n\na(\n x('(')(* ( *)\n y(" >open2.pml
mkdir folder
while IFS='|' read -r file message; do
    run 1 -- pml check tree.pml "$file"; expect_err_line "check $file"
    [[ $(cat err) == "zul: $file$message" ]] || fail "check $file: $(cat err)"
done <<'EOF'
two.pml|:3: text after the first node (a PML file holds one top node)
cut.pml|:2: DecodeException: get type token
open.pml|:1: the text ends inside the list opened here
open2.pml|:3: the text ends inside the list opened here
missing.pml|: No such file or directory
folder|: Is a directory
EOF
run 1 cut.pml -- pml check; [[ $(cat err) == "zul: <stdin>:2: DecodeException: get type token" ]] \
    || fail "check of standard input: $(cat err)"
run 1 -- pml check two.pml cut.pml tree.pml
[[ $(wc -l <err) == 2 ]] || fail "one line per bad file: $(cat err)"
# A configuration in the current directory that asks for a log file and a console echo
# changes nothing: one line per failure, no log file, nothing on standard output.
mkdir cfgdir && printf 'cfg(log(filename(tool.log) consoleOn(1) infoOn(1)))' >cfgdir/p2p_config.pml
(cd cfgdir && "$zul" pml check ../cut.pml >../out 2>../err); rc=$?
[[ $rc == 1 && $(wc -l <err) == 1 && ! -s out && ! -e cfgdir/tool.log ]] \
    || fail "configuration in the cwd: rc $rc, $(cat out err), $(ls cfgdir)"

# ---- get ----
while IFS='|' read -r path text; do
    run 0 -- pml get "$examples/config.pml" "$path"; expect_out "$text" "get $path"
done <<'EOF'
server/port|8443
/server/host|sync.example.org
server/listen/[1]|::1
folders/[1]/shared|/srv/team share
greeting|Welcome back, "friend"!
server/port/../../enable|1
EOF
run 0 -- pml get tree.pml names; expect_out $'names(\n    :s(a b)\n    :s(x)\n)' "get list"
run 0 -- pml get tree.pml /; cmp -s out <("$zul" pml format tree.pml) || fail "get /"
for path in nope names/[2] names/x/y /..; do
    run 2 -- pml get tree.pml "$path"; expect_err_line "get $path"
done
run 1 -- pml get "$examples/broken.pml" server

# ---- base64 ----
printf Man >man.txt
run 0 -- base64 encode man.txt; [[ $(od -An -c out | tr -d ' ') == 'TWFu\n' ]] || fail "Man"
[ "$(printf Man | "$zul" base64 encode)" = TWFu ] || fail "Man from standard input"
run 0 -- base64 encode --crlf man.txt; [[ $(od -An -c out | tr -d ' ') == 'TWFu\r\n' ]] || fail "crlf"
head -c 58 /dev/zero >z58
run 0 -- base64 encode z58; [[ $(wc -l <out) == 2 && $(head -1 out | wc -c) == 77 ]] \
    || fail "76-character lines"
cmp -s <(base64 z58) out || fail "the same text as coreutils"
run 2 -- base64 decode --crlf man.txt; expect_err_line "decode --crlf"
head -c 4099 /dev/urandom >random.bin
"$zul" base64 encode random.bin | "$zul" base64 decode >back.bin
cmp -s random.bin back.bin || fail "base64 round trip"
printf ' TW\r\nF u ?' >spaced.txt
run 0 spaced.txt -- base64 decode; expect_out Man "decode skips blanks"
run 0 -- base64 encode empty.pml; expect_out "" "encode empty"
run 1 -- base64 decode missing.b64; expect_err_line "decode missing"

# ---- des: the classic known answer, padding, round trip ----
printf 'Now is the time for all ' >now.txt
for args in "--key-hex 0123456789abcdef now.txt" "--key-hex=0123456789ABCDEF -"; do
    run 0 now.txt -- des encrypt $args
    [[ $(od -An -tx1 out | tr -d ' \n') == 3fa40e8a984d48156a271787ab8883f9893d51ec4b563b53 ]] \
        || fail "des known answer with $args: $(od -An -tx1 out)"
done
printf hello | "$zul" des encrypt -k 6b6579 | "$zul" des decrypt -k 6b6579 - >back.txt
[[ $(od -An -tx1 back.txt | tr -d ' \n') == 68656c6c6f000000 ]] || fail "des keeps padding zeros"
key=0102030405060708
"$zul" des encrypt -k $key random.bin | "$zul" des decrypt -k $key | head -c 4099 | cmp -s - random.bin \
    || fail "des round trip"
run 0 -- des encrypt -k 00 empty.pml; expect_out "" "des of nothing"
run 1 -- des decrypt -k 00 missing.bin; expect_err_line "des missing"

# ---- in-place ----
cp tree.pml a.pml; chmod 640 a.pml; ln -s a.pml link.pml
run 0 -- pml format -i -m compact link.pml
[[ -L link.pml && $(stat -c %a a.pml) == 640 ]] || fail "in-place keeps link and mode"
[[ $(cat a.pml) == 'cfg(level:int(3)names(:s(a b):s(x))dir("C:/tmp"))' ]] || fail "in-place text"
cp "$examples/broken.pml" b.pml; cp tree.pml c.pml
run 1 -- pml format --in-place b.pml c.pml
cmp -s b.pml "$examples/broken.pml" || fail "a bad file stays whole"
[[ $(cat c.pml) == "$simple" ]] || fail "the good file beside it is rewritten"
run 2 -- pml format -i - c.pml
# A rewrite that would change the tree is refused: a name with a syntax character is written
# bare, and a pattern can leave names out.
printf 'top(x^:y(1) ok(2))\n' >esc.pml; cp esc.pml esc0.pml
run 1 -- pml format -i esc.pml; expect_err_line "in-place of a bare syntax character"
[[ $(cat err) == "zul: esc.pml: left unchanged: the node at '/x:y' would not read back the same from the new text" ]] \
    || fail "in-place refusal: $(cat err)"
run 1 -- pml format -i -p value c.pml; expect_err_line "in-place without names"
cmp -s esc.pml esc0.pml && [[ $(cat c.pml) == "$simple" ]] || fail "refused files stay whole"
[[ -z $(find . -name '.*zul-*') ]] || fail "temporary files left: $(find . -name '.*zul-*')"

# ---- xml: escaped output that reads back the same, errors with their line ----
printf '<?xml version="1.0"?>\n<r a="&quot;&amp;">&lt;t&gt;<b/><c x=""> <![CDATA[ ]]></c></r>\n' >t.xml
run 0 -- xml format -c t.xml
expect_out '<r a="&quot;&amp;"><b/><c x="">&#32;</c>&lt;t&gt;</r>' "xml compact"
run 0 -- xml format t.xml
expect_out $'<r a="&quot;&amp;">\n    <b/>\n    <c x="">&#32;</c>\n    &lt;t&gt;</r>' "xml formatted"
run 0 -- xml format -c "$examples/config.xml"; cp out xml_compact.txt
"$zul" xml format "$examples/config.xml" | "$zul" xml format -c - >xml_again.txt
cmp -s xml_compact.txt xml_again.txt || fail "xml format round trip"
run 0 -- xml check "$examples/config.xml" t.xml; expect_out "" "xml check of good files"
printf '<a>\n<b x/>\n</a>' >noeq.xml; : >empty.xml
printf '<!-- <x> -->\n<a>\n  <b/>\n  <c>\n    <d>x</d>' >open.xml
while IFS='|' read -r file msg; do
    run 1 -- xml check t.xml "$file"; expect_err_line "xml check $file"
    [[ $(cat err) == "zul: $file$msg" ]] || fail "xml check $file: $(cat err)"
done <<'EOF'
noeq.xml|:2: Malformed XML Attribute - no = found
empty.xml|: no element
open.xml|:2: the text ends inside the element opened here
missing.xml|: No such file or directory
EOF
run 1 -- xml check "$examples/broken.xml"
while IFS='|' read -r path text; do
    run 0 -- xml get "$examples/config.xml" "$path"; expect_out "$text" "xml get $path"
done <<'EOF'
server/listen|[::1]
server/[0]|127.0.0.1
server/@port|8080
greeting|Hello & welcome, <user>!
log|<log level="info" file="/var/log/zul.log"/>
EOF
for path in nope server/@nope server/[9] server/@port/x; do
    run 2 -- xml get "$examples/config.xml" "$path"; expect_err_line "xml get $path"
done
cp "$examples/broken.xml" bx.xml; cp t.xml tx.xml
run 1 -- xml format -i bx.xml tx.xml
cmp -s bx.xml "$examples/broken.xml" || fail "a bad xml file stays whole"
[[ $(cat tx.xml) == "$("$zul" xml format t.xml)" ]] || fail "xml in-place text"

# ---- output errors ----
if [[ -w /dev/full ]]; then
    "$zul" pml format tree.pml >/dev/full 2>err; [[ $? == 1 ]] || fail "write error exit code"
    expect_err_line "write error"
fi

# ---- config show ----
printf 'cfg(codepage(1250) log(filename(a.log) appLogs(net(1))))' >show.pml
run 0 -- config show show.pml
[[ $(sed -n 1p out) == "file      show.pml (given)" && $(sed -n 3p out) == "codepage  1250" ]] \
    || fail "config show head: $(head -3 out)"
grep -qx '    appLogs(net(1))' out && grep -qx '    filename(a.log)' out \
    && grep -qx '    maxNumofMsg(100)' out || fail "config show log section: $(cat out)"
(cd cfgdir && "$zul" config show >../out 2>../err) || fail "config show in a folder: $(cat err)"
grep -qx '    consoleOn(1)' out || fail "config show of ./p2p_config.pml: $(cat out)"
printf 'c(log:x)1))' >badcfg.pml
run 1 -- config show badcfg.pml; expect_err_line "config show badcfg.pml"
run 2 -- config; expect_err_line "config"

if ((failures)); then echo "$failures failure(s)"; exit 1; fi
echo "zul tool: all checks passed"
