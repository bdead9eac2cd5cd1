#!/usr/bin/env bash
# Compares what two draxel builds write, byte for byte: every sample drawing, the
# examples and generated drawings, saved in their own version and in older and newer
# ones, plus the messages and exit status for broken files. For changes that must not
# change behaviour (keep a copy of the old program first).
#   scripts/roundtrip_compare.sh OLD_DRAXEL NEW_DRAXEL [DATA_DIR]
set -uo pipefail
cd "$(dirname "$0")/.."
old=$1 new=$2 data=${3:-../shared/data}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

inputs=()
for f in "$data"/dxf/*.dxf "$data"/dxf/*.DXF examples/*.dxf; do [ -f "$f" ] && inputs+=("$f"); done
for v in AC1015 AC1032; do
  /usr/bin/python3 bench/gen_dxf.py "$work/gen_$v.dxf" --entities 20000 --version "$v" >/dev/null
  inputs+=("$work/gen_$v.dxf")
done

fail=0 count=0
run() {  # name, args...
  local name=$1; shift
  "$old" "$@" -o "$work/old.dxf" >"$work/old.out" 2>&1; echo "exit $?" >>"$work/old.out"
  "$new" "$@" -o "$work/new.dxf" >"$work/new.out" 2>&1; echo "exit $?" >>"$work/new.out"
  count=$((count + 1))
  if ! cmp -s "$work/old.out" "$work/new.out"; then
    echo "DIFFERENT messages: $name"; diff "$work/old.out" "$work/new.out" | head -5; fail=1
  fi
  if [ -f "$work/old.dxf" ] || [ -f "$work/new.dxf" ]; then
    if ! cmp -s "$work/old.dxf" "$work/new.dxf"; then
      echo "DIFFERENT output: $name"; fail=1
    fi
  fi
  rm -f "$work/old.dxf" "$work/new.dxf"
}
for f in "${inputs[@]}"; do
  run "$f" "$f"
  for v in AC1014 AC1018 AC1032; do run "$f as $v" "$f" --version "$v"; done
  "$old" --report "$f" >"$work/old.rep" 2>&1; "$new" --report "$f" >"$work/new.rep" 2>&1
  cmp -s "$work/old.rep" "$work/new.rep" || { echo "DIFFERENT report: $f"; fail=1; }
done
for f in "$data"/bad-dxf/*; do [ -f "$f" ] && run "$f" "$f"; done
run "new drawing" 
echo "$count runs compared"
[ $fail = 0 ] && echo "identical" || { echo "differences found"; exit 1; }
