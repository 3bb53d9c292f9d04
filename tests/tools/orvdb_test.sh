#!/usr/bin/env bash
# orvdb end to end: answers and exit codes, the JSON round trip, the linter,
# the registry store commands, eval, files it must not harm (also when each
# system call on the write path fails in turn) and a full standard output.
# Usage: orvdb_test.sh ORVDB SAMPLE_DB SAMPLE_JSON DATA_DIR FAULT_LIBRARY VERSION
set -u
ORVDB=$1 DB=$2 JSON=$3 DATA=$4 FAULT=$5 VERSION=$6
cd "$(mktemp -d)" || exit 1
trap 'chmod -R u+w . 2>/dev/null; rm -rf "$PWD"' EXIT
export ORVX_HKCU_FILE=$PWD/hkcu.reg ORVX_HKLM_FILE=$PWD/hklm.reg
failed=0
fail() { echo "line ${BASH_LINENO[-2]}: $*"; failed=1; }

# t CODE OUT ERR ARGS...: orvdb ARGS exits with CODE, its standard output
# contains OUT (it goes to $OUT when set), and when ERR is given its standard
# error is one line holding it.
t() {
  local code=$1 out=$2 err=$3
  shift 3
  "$ORVDB" "$@" >"${OUT:-out.txt}" 2>err.txt
  local got=$?
  [[ $got == "$code" ]] || fail "orvdb $*: exit $got, want $code: $(head -c 300 err.txt)"
  [[ -z $out || $(cat out.txt; echo .) == *"$out"* ]] || fail "orvdb $*: no \"$out\" in: $(head -c 300 out.txt)"
  [[ -z $err || ($(<err.txt) == *"$err"* && $(wc -l <err.txt) == 1) ]] || fail "orvdb $*: want one line with \"$err\": $(<err.txt)"
}
same() { cmp -s "$1" "$2" || fail "$1 and $2 differ"; }
no_temporary_files() { ! ls -A . .. | grep -q '\.tmp-' || fail "temporary files left: $(ls -A . ..)"; }

# Answers and exit codes.
t 0 'tray "Cassette 1": 01 02 03' '' show --db "$DB" 'Vantor LP-1200'
t 0 'Other Printer' '' show --db "$DB" 'no such model'
echo '{"models":[{"ModelName":"F","InTraySPSZSizeList":[8,10,5,67,97,243,0,1]}]}' >f.json && "$ORVDB" build f.json -o f.dat 2>/dev/null
t 0 'tray "Ca\xf3": 01' '' show --db f.dat F   # a tray name's unprintable byte, as lint writes it
t 1 '' '' show --strict --db "$DB" 'no such model'
t 0 'Vantor LP-1300C' '' show --strict --db "$DB" 'prefix Vantor LP-1300C suffix'
t 0 '"match":"substring"' '' show --json --db "$DB" 'Vantor LP-1200 PCL6'
# Where GetInfo answers other than the stored value, show says so.
echo '{"models":[{"ModelName":"I","Info040A":255,"Info1200000":4294967295,"Info0D08":7}]}' >i.json && "$ORVDB" build i.json -o i.dat 2>/dev/null
t 0 'Info040A             255  (key 0x040A; GetInfo answers -1: 255 means not set)' '' show --db i.dat I
# Each field's one-line meaning, the same as docs/database-format.md gives.
sed -n 's/.*  # //p' out.txt | sort -u | while read -r note; do
  grep -qF -- "$note" "$(dirname "$JSON")/../docs/database-format.md" || fail "not in docs/database-format.md: $note"
done
t 0 'GetInfo answers -1: an int, so values above 2147483647' '' show --db i.dat I
[[ $(sed 's/  # .*//' out.txt | grep -c 'GetInfo answers') == 2 ]] || fail "only two keys answer other than stored: $(<out.txt)"
t 0 '"getInfo":{"Info040A":-1,"Info1200000":-1}' '' show --json --db i.dat I
t 0 '"FlagNames":["IXDuplexer","IsOldTypePrinter","IsVantorPrinter"]' '' show --json --db "$DB" 'Vantor LP-1200'
t 0 $'    2  Vantor LP-1200\n' '' find --db "$DB" 'lp-12'
t 1 '' '' find --db "$DB" 'no such text'
t 2 '' 'NAME' show --db "$DB"
t 2 '' 'unknown option "--colour"' show --colour --db "$DB" X
t 2 '' '/nonexistent/x.dat: no such file' show --db /nonexistent/x.dat A
t 2 '' '/nonexistent.json: no such file' build /nonexistent.json -o x.dat
t 2 '' 'frobnicate' frobnicate
t 2 '' 'subcommand'
t 0 "orvdb $VERSION"$'\n' '' --version
t 0 'ORVX_HKLM_FILE' '' --help

# Export and build give back the same bytes; ORVDB.dat of the current folder is the default.
"$ORVDB" export --db "$DB" >db.json && t 0 '' '' build db.json -o ORVDB.dat
same ORVDB.dat "$DB"
t 0 $'    0  vendor 1   group 0     Other Printer\n' '' list
# Flags by name build the same record as by number; when both are given they must agree.
echo '{"models":[{"ModelName":"A","FlagNames":["IsColorPrinter","IXDuplexer"]}]}' >n.json
echo '{"models":[{"ModelName":"A","Flags":9}]}' >b.json
echo '{"models":[{"ModelName":"A","Flags":1,"FlagNames":["IsColorPrinter"]}]}' >x.json
t 0 '' '' build n.json -o n.dat && t 0 '' '' build b.json -o b.dat && same n.dat b.dat
t 2 '' 'FlagNames' build x.json -o x.dat
# Names that are not UTF-8 and the extremes of every width survive export and build.
echo '{"models":[{"ModelNameBytes":[67,97,102,233,32,255],"VenderID":65535,"Flags":4294967295,"Info0108":-128,
  "Info040A":255,"Info0D08":65535,"Info1200000":4294967295,"Info1530000":-32768,"Info1400000":-32768,"InTraySPSZSizeList":[1]}]}' >e.json
t 0 '' '' build e.json -o e.dat && "$ORVDB" export --db e.dat >e2.json && t 0 '' '' build e2.json -o e2.dat
same e.dat e2.dat
# An empty database exports as JSON, which builds it again.
printf '\0\0\0\0' >none.dat && t 0 '{"models": []}' '' export --db none.dat && cp out.txt none.json && t 0 '' '' build none.json -o none2.dat
same none.dat none2.dat
# Size lists as trays: build computes the length and zero bytes, export gives
# back trays (raw bytes for a malformed block), and the round trip is exact.
echo '{"models":[{"ModelName":"S","InTraySPSZSizeList":[{"tray":"Cassette 1","sizes":[1,2,3]},{"tray":2,"sizes":[]}]},
  {"ModelName":"R","InTraySPSZSizeList":[5,1,9,1,2]},{"ModelName":"E","InTraySPSZSizeList":[]}]}' >s.json
t 0 '' '' build s.json -o s.dat
t 0 '19 bytes: 13 0a 0e 43 61 73 73 65 74 74 65 20 31 00 01 02 03 02 00' '' show --db s.dat S
OUT=s2.json t 0 '' '' export --db s.dat && t 0 '' '' build s2.json -o s2.dat && same s.dat s2.dat
[[ $(<s2.json) == *$'[\n      {"tray":"Cassette 1","sizes":[1,2,3]},\n      {"tray":2,"sizes":[]}\n    ]'*'[5,1,9,1,2]'*'"InTraySPSZSizeList": []'* ]] ||
  fail "size lists as trays: $(<s2.json)"

# Keys left out take a new record's values.
echo '{"models":[{"ModelName":"A"}]}' >d.json && t 0 '' '' build d.json -o d.dat && t 0 '' '' export --db d.dat
[[ $(<out.txt) == *'"Flags": 0,'*'"FlagNames": [],'*'"Info0108": -1,'*'"Info040A": 255,'*'"InTraySPSZSizeList": null'$'\n''  }'* ]] ||
  fail "defaults, in database order with the names beside the flags and the block last: $(<out.txt)"

# Bad models name the model and the key, and write nothing.
while IFS='|' read -r models error; do
  echo "$models" >bad.json
  t 2 '' "$error" build bad.json -o out.dat
  [[ ! -e out.dat ]] || fail "out.dat written for $models"
done <<'END'
{"models":[{"ModelName":"A","Colour":1}]}|model 0 ("A"), key "Colour": unknown key
{"models":[{"ModelName":"A"},{"ModelName":"B","VenderID":65536}]}|model 1 ("B"), key "VenderID"
{"models":[{"ModelName":"A","Info0108":128}]}|key "Info0108"
{"models":[{"ModelName":"A","Info0108":-129}]}|key "Info0108"
{"models":[{"ModelName":"A","Flags":-1}]}|key "Flags"
{"models":[{"ModelName":"A","InTraySPSZSizeList":[4,1,0]}]}|key "InTraySPSZSizeList"
{"models":[{"ModelName":"A","InTraySPSZSizeList":[{"tray":1,"sizes":[]},{"tray":10,"sizes":[]}]}]}|model 0 ("A"), key "InTraySPSZSizeList": entry 1: "tray" must be
{"models":[{"ModelName":"A","InTraySPSZSizeList":[{"tray":"X","sizes":[256]}]}]}|key "InTraySPSZSizeList": entry 0: "sizes" must be
{"models":[{"ModelName":7}]}|key "ModelName"
{"models":{}}|"models"
{"models":[|not valid JSON
{"models":[{"ModelName":"A","VenderID":18446744073709551615}]}|key "VenderID": 18446744073709551615 is out of range
END

# Each lint finding from a small database after a clean default record; the
# built database has the same findings, and --strict refuses to build it.
while IFS='|' read -r models record code; do
  echo "{\"models\":[{\"ModelName\":\"Default\",\"VenderID\":1},$models]}" >m.json
  rm -f m.dat
  if [[ -z $code ]]; then
    t 0 '' '' lint m.json && t 0 '' '' build --strict m.json -o m.dat
    continue
  fi
  t 1 "[$code]" '' lint m.json && t 1 '' '' build --strict m.json -o m.dat
  [[ ! -e m.dat ]] || fail "--strict wrote m.dat for $models"
  t 0 '' '' build m.json -o m.dat && t 1 "[$code]" '' lint m.dat
  [[ $(<out.txt) == *": record $record \""* && $(wc -l <out.txt) == 1 ]] || fail "want one finding, record $record: $(<out.txt)"
done <<'END'
{"ModelName":"A","VenderID":1},{"ModelName":"A","VenderID":1}|2|duplicate-name
{"ModelName":"","VenderID":1}|1|empty-name
{"ModelName":"LP-1","VenderID":1},{"ModelName":"LP-10","VenderID":1}|2|shadowed-name
{"ModelName":"Jet","VenderID":1},{"ModelName":"JET","VenderID":1}|2|case-variant
{"ModelName":"Jet ","VenderID":1},{"ModelName":" Jet","VenderID":1}|2|space-variant
{"ModelName":"A","VenderID":9,"ModelGroupID":9}|1|no-picture-rule
{"ModelName":"A","VenderID":1,"Flags":8192}|1|unknown-flags
{"ModelName":"A","VenderID":1,"InTraySPSZSizeList":[6,1,1,3,2,9]}|1|size-list-malformed
{"ModelName":"A","VenderID":1,"InTraySPSZSizeList":[5,10,2,66,67]}|1|size-list-malformed
{"ModelName":"A","VenderID":1,"InTraySPSZSizeList":[7,1,1,3,1,1,4]}|1|size-list-duplicate
{"ModelName":"A","VenderID":1,"InTraySPSZSizeList":[11,10,3,97,0,1,10,3,65,0,2]}|1|size-list-duplicate
{"ModelName":"A","VenderID":1,"InTraySPSZSizeList":[8,1,1,3,10,2,65,0]}|1|size-list-unreachable
{"ModelName":"A","VenderID":1,"InTraySPSZSizeList":[8,10,5,67,97,243,0,1]}|1|size-list-name
{"ModelName":"A","VenderID":1,"InTraySPSZSizeList":[{"tray":"Tray\u0007","sizes":[1]}]}|1|size-list-name
{"ModelName":"A","VenderID":2,"ModelGroupID":14,"InTraySPSZSizeList":[8,10,2,65,0,1,1,3]}||
END
# The file around the records.
(cat "$DB"; printf xyz) >trailing.dat && t 1 "from byte $(stat -c %s "$DB")) are never read [trailing-bytes]" '' lint trailing.dat
printf '\377\377\377\377' >negative.dat && t 1 '"index":null,"name":"","code":"negative-count"' '' lint --json negative.dat
head -c 100 "$DB" >cut.dat && t 2 '' 'cut.dat: a truncated or malformed model database (data ends early at byte 100)' lint cut.dat
# The form of a file: 123 records (the count's first byte is "{"), JSON after
# a byte-order mark, and the JSON form where only a database is read.
seq 123 | awk 'BEGIN { printf "{\"models\":[" } { printf "%s{\"ModelName\":\"N%d-\",\"VenderID\":1}", (NR > 1 ? "," : ""), $1 } END { print "]}" }' >n123.json
"$ORVDB" build n123.json -o n123.dat && printf '\357\273\277 ' >bom.json && cat n123.json >>bom.json
while IFS='|' read -r code out err args; do
  t "$code" "$out" "$err" $args
done <<'END'
0|||lint n123.dat
0|no differences||diff n123.dat bom.json
0|||lint bom.json
2||bom.json: a JSON document, not a model database (orvdb build makes a database of its JSON form)|show --db bom.json N1-
END

# The registry store: supported models and COM port configurations.
printf '%s\n' 'REGEDIT4' '[HKEY_LOCAL_MACHINE\SOFTWARE\Vantor Selby\Mon\Supported Models]' '"LP-1"=dword:01000100' \
  '[HKEY_LOCAL_MACHINE\SOFTWARE\Vantor Selby\Mon\Unsupported Models]' '"LP-9"=dword:0' >hklm.reg
printf 'REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\A]\nnonsense\n' >bad.reg
t 0 $'LP-1: supported (0x00000000)\n' '' supported LP-1 --interface 1 --app Mon
t 1 'LP-1: not supported (0x80000001)' '' supported LP-1 --interface 3 --app Mon --direct
t 1 'LP-9: listed as unsupported (0x80000002)' '' supported LP-9 --interface 1 --app Mon
t 0 'LP-1: supported (0x00000000)' '' supported LP-1 --interface 1 --path 'SOFTWARE\Vantor Selby\Mon'
t 1 '{"model":"X","interface":2,"answer":"not supported","code":"0x80000001"}' '' supported X --interface 2 --json
t 2 '' '' supported X --interface 6
t 2 '' '' supported X --interface x
ORVX_HKLM_FILE=$PWD/none.reg t 3 '' 'none.reg' supported X --interface 1
ORVX_HKLM_FILE=$PWD/bad.reg t 4 '' 'bad.reg:4:' supported X --interface 1
t 0 '' '' registry check hklm.reg
t 1 '' 'bad.reg:4: a value name must be quoted or @' registry check bad.reg
t 1 '' '' comcfg load --port 0x20 --app Mon --key K
t 2 '' '' comcfg frob --port 1
t 2 '' '' comcfg load --port 12x
# Exits 3 and 4 are supported's: to comcfg a malformed store is a file it cannot use.
ORVX_HKCU_FILE=$PWD/bad.reg t 2 '' 'bad.reg:4:' comcfg load --port 0x20
ORVX_HKCU_FILE=$PWD/bad.reg t 2 '' 'bad.reg:4:' comcfg save --hex --port 0x20 <<<08000000aabbccdd
printf '04010000%0512d' 0 >big.hex && t 2 '' '260 bytes' comcfg save --hex --port 0x30 <big.hex   # could never load back
printf '34000000%096d\n' 7 >config.hex && t 0 '' 'COM3' comcfg save --port 0x35 --hex --app Mon --key K <config.hex
t 0 '' '' comcfg load --port 0x30 --hex --app Mon --key K
[[ $(tr -cd '0-9a-f' <out.txt) == $(tr -cd '0-9a-f' <config.hex) ]] || fail "the configuration came back as $(<out.txt)"
# Only what is stored comes back, and only a binary value of 1 to 256 bytes is a configuration.
printf '[HKEY_CURRENT_USER\\Software\\K\\Mon\\Com]\n"COM4"=hex:08,01,00,00,01\n"COM5"="text"\n"COM6"=hex:\n"COM7"=hex:%s01\n' \
  "$(printf '00,%.0s' $(seq 299))" >>"$ORVX_HKCU_FILE"
t 0 $'08 01 00 00 01\n' '' comcfg load --hex --port 0x40 --app Mon --key K
t 5 '' 'COM5 holds a value of type REG_SZ' comcfg load --port 0x50 --app Mon --key K
t 6 '' 'COM6 holds an empty value' comcfg load --port 0x60 --app Mon --key K
t 7 '' 'COM7 holds 300 bytes, too large to load' comcfg load --port 0x70 --app Mon --key K
cp "$ORVX_HKCU_FILE" hkcu.before
t 2 '' 'more than 256 bytes' comcfg save --port 0x10 --app Mon --key K </dev/zero
t 2 '' '--app: the application name holds a line break' comcfg save --hex --port 0x10 --app $'evil\nx' <config.hex
same "$ORVX_HKCU_FILE" hkcu.before

# picture (its JSON is eval's: tests/faces/picture_faces.py)
t 0 $'rule         GetOptionFlagEx_Nightjar\n' '' picture --db "$DB" 'Vantor LP-2100' --in 'Multi Purpose Tray' \
  'Optional Cassette 2' --out 'Face Down Tray' --option HH-418
grep -q $'picture ID   0x00010802' out.txt && grep -q 'in-tray      "Optional Cassette 2" -> "Cassette 2", ID 21' out.txt || fail "$(<out.txt)"
t 2 '' '' picture
t 2 '' '' picture X --vendor 1 --group 1
t 2 '' '' picture --vendor 1
t 2 '' '' picture --vendor 70000 --group 1
t 2 '' '' picture --vendor 1 --group 1 --string 9481
# explain credits every bit, and names every unit; rules lists the tables
t 0 $'explain      option "Finisher": not read by this rule' '' picture --vendor 2 --group 21 --option Finisher \
  --doc-option ADF --in 'Optional Cassette 1' --explain
grep -q 'in-tray 1 "Optional Cassette 1" tested as "Cassette 1": row 4' out.txt && grep -q 'doc-option "ADF"' out.txt &&
  grep -q 'credited bits 0x04000001, the whole picture ID' out.txt || fail "$(<out.txt)"
t 0 $'GetOptionFlagEx_Dunlin\n  in-tray row 0: begins with "Manu" (4) or "Mult" (4) or "MP T" (4) -> bits 0x800, ID 12' '' \
  rules --vendor 2 --group 21
t 0 $'model        Vantor LP-1200\nvendor 1, group 2: GetPictureID GetOptionFlag_Crake;' '' rules --db "$DB" 'Vantor LP-1200 PCL6'
t 2 '' '' rules --db "$DB" 'Vantor LP-1200' --vendor 2 --group 21
t 0 $'option row 2: begins with "GX-266" (6) -> bits none; counted for the feeder configuration\n  option row 3: begins with "HI-331" (6) -> bits 0x100000\n' '' \
  rules --vendor 2 --group 16
t 0 '"GetPictureIDEx":{"rule":"GetOptionFlagEx_Nightjar"' '' rules --json
t 0 '  any other group: GetPictureID none, picture ID 0; GetPictureIDEx GetOptionFlagEx_Nightjar' '' rules
! grep -q 'group 6[3-9]' out.txt || fail "rules lists a group no row names: $(grep 'group 6[3-9]' out.txt)"
t 2 '' '' rules --vendor 1
t 0 'only at in-tray 6; large feeder' '' rules --vendor 2 --group 20   # positions counted from 1
# explain names every input the rule leaves unread and the step behind a 0 or fixed result.
while IFS='|' read -r want args; do
  read -ra words <<<"$args"
  t 0 "$want" '' picture "${words[@]}" --explain
done <<'END'
explain      rule: duplex unit installed: this rule does not read it, bits none|--vendor 1 --group 2 --classic --duplex
explain      rule: output unit 1: this rule takes none, bits none|--vendor 1 --group 16 --classic --output-unit 1
explain      rule: output unit installed, but a stacker was seen: no bit (row 1), bits none|--vendor 1 --group 1 --classic --out IL-2 --output-unit 1
explain      rule: duplex unit installed: GetPictureIDEx does not read it, bits none|--vendor 1 --group 2 --duplex
explain      option "X": GetPictureID does not read it, bits none|--vendor 1 --group 2 --classic --option X
explain      rule: no feeder configuration matched: 0, bits none|--vendor 1 --group 18 --in A B C
explain      in-tray 7 "G": more than 6 in-trays: no feeder configuration, so no ID is written, bits none, ID -1|--vendor 1 --group 18 --in A B C D E F G
explain      out-tray 1 "F": no rule runs for this group, bits none, ID -1|--vendor 3 --group 1 --out F
explain      option "X": no rule runs for this group, bits none|--vendor 3 --group 1 --option X --doc-option Y
explain      rule: fixed result of the group, bits 0x00000800|--vendor 2 --group 5 --classic
END
t 0 '' '' picture --vendor 1 --group 2 --explain && ! grep -q 'unit' out.txt || fail "explain names units not installed: $(<out.txt)"
# Options that take values refuse none and refuse a following option; --strict refuses the default model.
while IFS='|' read -r error args; do
  read -ra words <<<"$args"
  t 2 '' "$error" "${words[@]}"
done <<'END'
orvdb: --in needs a value, and "--out" is an option|picture --vendor 1 --group 2 --in --out X --explain
orvdb: --in needs a value|picture --vendor 1 --group 2 --in
orvdb: --db needs a value, and "--strict" is an option|show --db --strict X
orvdb: --fail-on needs a value, and "--json" is an option|diff --fail-on --json a.dat b.dat
END
t 1 '[default model: no name matched]' '' picture --strict --db "$DB" 'no such model'
t 0 '' '' picture --strict --db "$DB" 'Vantor LP-1200 PCL6'

# eval: every request kind and every kind of bad request, answered as stored
# (valid answers were checked against the library through its C interface).
sed "s|@DB@|$DB|" "$DATA/eval_requests.jsonl" >requests.jsonl
t 0 '' '' eval <requests.jsonl && cmp -s out.txt "$DATA/eval_answers.jsonl" || fail "eval: $(diff out.txt "$DATA/eval_answers.jsonl")"
# Bad requests say what and where; escapes, repeated members (the last wins)
# and any order are fine; a path with a zero byte is refused. (Picture
# requests: tests/faces/picture_faces.py.)
ln -s "$DB" sample-link.dat
while read -r line; do
  echo "${line% -> *}" | "$ORVDB" eval >out.txt
  [[ $(<out.txt) == *"${line##* -> }"* ]] || fail "eval ${line% -> *}: $(<out.txt)"
done <<'END'
{"op":"info","calls":[]} x -> more text after the value at byte 25
{"op":"info","calls":[1,]} -> at byte 24
{"op":"info","calls": -> an object that does not end at byte 21
{"op":"info","calls":"a -> a string that does not end at byte 21
{"op":"info","calls":"\ud800"} -> surrogate
{"op":"info","calls":01} -> at byte 22
{"op":"info","calls":1.} -> decimal point
{"op":"info" "calls":1} -> at byte 13
 {"calls":[["get",1034]],"op":"info","op":"info"}  -> {"results":[-1]}
{"o\u0070":"info","c\u0061lls":[["get",1034]],"op":"info"} -> {"results":[-1]}
{"op":"\u0070icture","vendor":1,"group":0,"inTrays":["Cassette 1"]} -> {"pictureId":1,"rule":"GetOptionFlagEx_Nightjar","inTrays":[{"name":"Cassette 1","id":20}]
{"op":"lookup","db":"sample-link.dat\u0000N","name":"x"} -> {"error":"a path that holds a zero byte"}
END
printf '{"op":"info","calls":"\001"}\n{"op":"info","calls":"\377"}\n' | "$ORVDB" eval >out.txt
[[ $(<out.txt) == *'a control character inside a string at byte 22'*'not UTF-8 at byte 22'* ]] || fail "$(<out.txt)"
# Answers in order, bad lines among thousands of good ones.
for i in $(seq 0 2999); do
  if ((i % 500 == 7)); then echo '{broken'; else echo "{\"op\":\"info\",\"calls\":[[\"set\",19005440,$i],[\"get\",19005440]]}"; fi
done >many.jsonl
for i in $(seq 0 2999); do
  if ((i % 500 == 7)); then echo '{"error":'; else echo "{\"results\":[1,$i]}"; fi
done >many.want
t 0 '' '' eval <many.jsonl && sed -i 's/^{"error":.*/{"error":/' out.txt && same out.txt many.want
# A request longer than any buffer is read whole: answered in full, or refused at its end.
{
  printf '{"op":"picture","vendor":1,"group":0,"inTrays":["Cassette 1"'
  printf ',"Cassette %d"' $(seq 2 100000)
  printf ']}\n{"op":"sizelist","tray":1,"block":[7'
  printf ',1%.0s' $(seq 299999)
  printf ']}\n{"op":"info","calls":[%2000000s]\n' ''
} >long.jsonl
t 0 '{"pictureId":' '' eval <long.jsonl
[[ $(head -1 out.txt | grep -o '"name":"Cassette [0-9]*"' | wc -l) == 100000 ]] || fail "long: $(head -c 300 out.txt)"
[[ $(head -1 out.txt) == *'"inTrays":[{"name":"Cassette 1","id":20},'* ]] || fail "long: $(head -c 300 out.txt)"
[[ $(sed -n 2p out.txt) == '{"result":1,"bytes":[1]}' ]] || fail "the block is its first 7 bytes: $(sed -n 2p out.txt)"
[[ $(sed -n 3p out.txt) == *'at byte 2000023'* && $(wc -l <out.txt) == 3 ]] || fail "a long bad request: $(sed -n 3p out.txt)"
# Through a pipe each answer comes as soon as its line is complete, though the request came in pieces.
coproc EVAL { "$ORVDB" eval; }
eval_pid=$EVAL_PID  # bash unsets EVAL_PID once the coprocess has ended
for i in 0 1 2; do
  printf '{"op":"info","calls":[["set",3336,' >&"${EVAL[1]}"
  printf '%s],["get",3336]]}\n' $i >&"${EVAL[1]}"
  read -r -t 10 line <&"${EVAL[0]}"
  [[ $line == "{\"results\":[1,$i]}" ]] || fail "eval through a pipe: $line"
done
# Databases are kept by file, whatever path names it, and at most 16, the
# least recently used going first: `ask DB NAME` looks a name up in DB.
ask() {
  echo "{\"op\":\"lookup\",\"db\":\"$1\",\"name\":\"x\"}" >&"${EVAL[1]}"
  read -r -t 10 line <&"${EVAL[0]}"
  [[ $line == *"\"modelName\":\"$2\""* ]] || fail "eval lookup in $1: $line, want $2"
}
for i in $(seq 1 16) X Y Z; do
  echo "{\"models\":[{\"ModelName\":\"M$i\",\"VenderID\":1}]}" >m.json && "$ORVDB" build m.json -o "c$i.dat" || fail "build c$i.dat"
done
ask c1.dat M1
ln c1.dat h1.dat
# Every change shows at the next request, though the size stays and it comes
# within a tick of the last: rewritten in place (seen by every path),
# replaced by renames (which alternate between two inodes).
while IFS='|' read -r change path want; do
  eval "$change"
  ask "$path" "$want"
done <<'END'
cat cX.dat >c1.dat|h1.dat|MX
cat cY.dat >c1.dat|c1.dat|MY
for d in Z X; do cp "c$d.dat" new.dat && mv new.dat c1.dat && ask c1.dat "M$d"; done; cp cY.dat new.dat && mv new.dat c1.dat|c1.dat|MY
END
for i in $(seq 2 16); do ask "c$i.dat" "M$i"; done
ask h1.dat MY  # 17 files: the least recently used went, and is read anew
eval "exec ${EVAL[1]}>&-"
wait "$eval_pid" || fail "eval through a pipe failed"

# diff: one row per case, OLD and NEW as JSON models; "|" separates the models.
d() {  # d CODE OUT OLD NEW [OPTIONS...]
  local code=$1 out=$2
  echo "{\"models\":[{\"ModelName\":\"D\"},${3//|/,}]}" >old.json
  echo "{\"models\":[{\"ModelName\":\"D\"},${4//|/,}]}" >new.json
  shift 4
  t "$code" "$out" '' diff "$@" old.json new.json
}
A='{"ModelName":"A"}' B='{"ModelName":"B"}' C='{"ModelName":"C"}'
printf 'LP-1200 PS\n' >names.txt
printf '{"op":"picture","db":"any.dat","model":"A","inTrays":["Multi Purpose Tray"]}\n' >configs.txt
d 0 'no differences' "$A|$B" "$A|$B"
d 1 $'changed  "A" (record 2)\n    VenderID: 2 -> 3' "$A|"'{"ModelName":"A","VenderID":2}' "$A|"'{"ModelName":"A","VenderID":3}'
d 1 'added    record 2 "B"' "$A" "$A|$B"
d 1 'removed  record 1 "A"' "$A|$B" "$B"
d 1 'Flags: -IXDuplexer +IsColorPrinter' '{"ModelName":"A","Flags":1}' '{"ModelName":"A","Flags":8}'
d 1 'size list of tray 1: 01 02 -> 01 03' '{"ModelName":"A","InTraySPSZSizeList":[5,1,2,1,2]}' '{"ModelName":"A","InTraySPSZSizeList":[5,1,2,1,3]}'
d 1 'size list of tray "C1": (no entry) -> 07' '{"ModelName":"A"}' '{"ModelName":"A","InTraySPSZSizeList":[{"tray":"C1","sizes":[7]}]}'
d 1 'moved    "A": record 1 -> 3' "$A|$B|$C" "$B|$C|$A"
d 1 'lookup   "LP-1200 PCL6": record 1 "LP-1200" (substring) -> record 1 "LP-12" (substring)' '{"ModelName":"LP-1200"}' '{"ModelName":"LP-12"}|{"ModelName":"LP-1200"}'
d 1 'lookup   "LP-1200 PS"' '{"ModelName":"LP-1200"}' '{"ModelName":"LP-12"}|{"ModelName":"LP-1200"}' --names names.txt
d 1 'picture  line 1 "A": record 1 "A" -> record 1 "A", picture ID 0x00000800 -> 0x00000000; in-tray 1 "Multi Purpose Tray" ID 12 -> -1' \
  '{"ModelName":"A","VenderID":1}' '{"ModelName":"A","VenderID":7}' --configs configs.txt
d 1 $'0 added, 1 removed, 0 changed, 0 moved, 2 lookups changed, 0 names newly found, 0 pictures drift\n' "$A|$B" "$A" --summary
[[ $(wc -l <out.txt) == 1 ]] || fail "diff --summary printed more than the counts"
d 1 '"summary":{"added":1,"removed":0,"changed":0,"moved":0,"lookupChanged":1,"newNames":2,' '{"ModelName":"LP-1200"}' '{"ModelName":"LP-12"}|{"ModelName":"LP-1200"}' --json
# Lookup classes: an answer hosts already get that changes (another record,
# another match, none) apart from a name that is newly found, and listed
# before them; --fail-on picks the classes that fail. (";" separates fields.)
L0='{"ModelName":"LP-1300"}' LC='{"ModelName":"LP-1300C"}'
while IFS=';' read -r code out old new failon; do
  d "$code" "$out" "$old" "$new" --fail-on "$failon"
done <<END
1;lookup   "LP-1300C PCL6": record 1 "LP-1300C" (substring) -> record 1 "LP-1300" (substring);$LC;$L0|$LC;lookups
0;1 added, 0 removed, 0 changed, 0 moved, 1 lookups changed, 2 names newly found, 0 pictures drift;$LC;$L0|$LC;pictures
1;lookup   "B": record 2 "B" (exact) -> record 0 "D" (default);$A|$B;$A;lookups
0;new name "B": record 0 "D" (default) -> record 2 "B" (exact);$A;$A|$B;lookups,pictures
1;new name "B PCL6";$A;$A|$B;new-names
END
d 1 'new name "LP-12"' '{"ModelName":"LP-1200"}' '{"ModelName":"LP-12"}|{"ModelName":"LP-1200"}' --names names.txt
! sed -n '/^new name/,$p' out.txt | grep -q '^lookup' || fail "a changed lookup listed after the new names: $(<out.txt)"
d 2 '' "$A" "$A" --fail-on lookup
d 2 '' "$A" "$A" --names /nonexistent/names.txt
# Names that differ only in bytes that are not UTF-8 print as export writes them.
d 1 $'removed  record 1 [255,65]\nadded    record 1 [254,65]' '{"ModelNameBytes":[255,65]}' '{"ModelNameBytes":[254,65]}'
d 1 '"removed":[{"index":1,"nameBytes":[255,65]}]' '{"ModelNameBytes":[255,65]}' '{"ModelNameBytes":[254,65]}' --json
# A side without records has no picture ID and no trays.
echo '{"models":[]}' >no-models.json && echo '{"models":[{"ModelName":"A","VenderID":1}]}' >one.json
t 1 'picture ID no record -> 0x00000800; in-tray 1 no record -> "Multi Purpose Tray" ID 12' '' diff --configs configs.txt no-models.json one.json
echo '{"op":"picture"}' >configs.txt
d 2 '' "$A" "$A" --configs configs.txt
t 2 '' 'missing.dat: no such file' diff "$DB" missing.dat

# Output it was not asked to harm stays whole.
echo '{"models":[{"ModelName":"A","VenderID":1}]}' >models.json
mkdir out && cd out || exit 1
echo old >real.dat && chmod 640 real.dat && ln -s real.dat link.dat
t 0 '' '' build ../models.json -o link.dat   # the target is written, the link stays, the mode too
[[ -L link.dat && $(stat -c %a real.dat) == 640 ]] && ! grep -qx old real.dat || fail "a symbolic link as output"
mkfifo fifo
for target in fifo .; do t 2 '' 'is not a regular file (a directory, a device, a FIFO or a socket)' build ../models.json -o $target; done
t 2 '' '' build ../models.json -o /dev/null
[[ -p fifo && -c /dev/null ]] || fail "a special file was replaced"
t 2 '' 'real.dat/: real.dat is a file, not a folder' build ../models.json -o real.dat/
mkdir ro && echo old >ro/db.dat && chmod 500 ro
[[ $(id -u) == 0 ]] || t 2 '' '' build ../models.json -o ro/db.dat   # (root is not stopped by permissions)
[[ $(<ro/db.dat) == old ]] || fail "the file in a read-only folder changed"
chmod 700 ro
echo old >limit.dat   # a write that fails halfway, at the file size limit
(ulimit -f 1; trap '' XFSZ; "$ORVDB" build "$JSON" -o limit.dat 2>err.txt; [[ $? == 2 ]]) && grep -q 'cannot write' err.txt ||
  fail "a write cut short: $(<err.txt)"
[[ $(<limit.dat) == old ]] || fail "a write cut short changed the file"
t 0 '' '' build ../models.json -o - && cmp -s out.txt real.dat && [[ ! -e - ]] || fail "-o - is standard output"
[[ $(ls -A | tr '\n' ' ') == "err.txt fifo limit.dat link.dat out.txt real.dat ro " ]] || fail "left: $(ls -A)"

# Each system call on the write path fails in turn: exit 2, the old file byte for byte, no temporary file.
echo '08000000aabbccdd' >old.hex && echo '0800000011223344' >new.hex
t 0 '' '' comcfg save --hex --port 0x30 <old.hex && cp "$ORVX_HKCU_FILE" hkcu.old
echo 'the old database' >db.dat && cp db.dat db.old
inject() { ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=$FAULT ORVX_FAULT=$1 t "${@:2}"; }
for fault in open lock write:5 short write:28 fsync:5 rename:18 dirsync:5; do
  inject $fault 2 '' '' comcfg save --hex --port 0x30 <new.hex
  same "$ORVX_HKCU_FILE" hkcu.old
  [[ $fault == lock ]] || inject $fault 2 '' "$PWD/db.dat" build "$JSON" -o "$PWD/db.dat"
  same db.dat db.old
  no_temporary_files
done
inject none 0 '' '' comcfg save --hex --port 0x30 <new.hex
! cmp -s "$ORVX_HKCU_FILE" hkcu.old || fail "with nothing failing, the save did not happen"

# A full standard output is a failure.
t 0 '' '' comcfg save --hex --port 0x10 <old.hex
echo '{"op":"info","calls":[["get",1]]}' >req.jsonl
for args in "export --db $DB" "list --db $DB" "show --db $DB X" "find --db $DB Vantor" "lint --json $DB" \
  "picture --json --db $DB X" "comcfg load --port 0x10" "build $JSON -o -"; do
  OUT=/dev/full t 2 '' 'write error' $args
done
OUT=/dev/full t 2 '' 'write error' eval <req.jsonl

# Paths that are no file are one-line errors naming the path.
for bad in "$PWD" "$PWD/fifo" "$PWD/missing"; do
  t 2 '' "orvdb: $bad: " show --db "$bad" X
  t 2 '' "orvdb: $bad: " build "$bad" -o o.dat
  t 2 '' "orvdb: $bad: " registry check "$bad"
  t 2 '' "orvdb: $bad: " lint "$bad"
done

# html: the page's files inlined around the database; a script's "</script" cannot end its element early.
mkdir web && for f in style.css orvx_wasm.js orvx.js; do echo "/* $f */" >web/$f; done
echo 'const s = "</script><b>";' >web/app.js && echo '{"models":[]}' >web/sample.json
printf '%s\n' '<head><link rel="stylesheet" href="style.css">' '<!-- orvx:data --></head>' \
  '<script src="orvx_wasm.js"></script>' '<script type="module" src="orvx.js"></script>' \
  '<script type="module" src="app.js"></script>' >web/index.html
t 0 '' '' html "$DB" -o page.html --web web
[[ $(<page.html) == *"$(base64 -w0 "$DB")"* && $(<page.html) == *'"<\/script><b>"'* && $(<page.html) != *'src='* ]] ||
  fail "html: page.html is not self-contained: $(head -c 300 page.html)"
t 2 '' 'no web assets' html "$DB" -o none.html --web "$PWD/missing"
head -c 100 "$DB" >cut.dat && t 2 '' "cut.dat" html cut.dat -o none.html --web web
sed -i 's/orvx:data/other/' web/index.html && t 2 '' 'not the orvx page' html "$DB" -o none.html --web web
[[ ! -e none.html ]] || fail "html wrote none.html after a failure"

exit $failed
