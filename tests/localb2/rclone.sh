#!/bin/bash
# rclone.sh LOCALB2 RCLONE: rclone, unchanged, does a round of everything against the local service.
set -euo pipefail
localb2=$1
rclone=$2
work=$(mktemp -d)
"$localb2" --data "$work/data" --port 0 >"$work/line" &
service=$!
trap 'kill $service; wait $service || true; rm -rf "$work"' EXIT

for _ in $(seq 100); do
    [ -s "$work/line" ] && break
    sleep 0.1
done
read -r url id key <"$work/line"
export RCLONE_CONFIG=/dev/null RCLONE_CONFIG_L_TYPE=b2 RCLONE_CONFIG_L_ACCOUNT=$id RCLONE_CONFIG_L_KEY=$key
export RCLONE_CONFIG_L_ENDPOINT=$url
export RCLONE_RETRIES=1 RCLONE_LOW_LEVEL_RETRIES=1

fail() {
    echo "rclone.sh: $*" >&2
    exit 1
}
# expect WHAT ACTUAL EXPECTED
expect() {
    [ "$2" = "$3" ] || fail "$1 is: $2"
}

source=$work/source
mkdir -p "$source/sub dir/ä ö"
echo first >"$source/a.txt"
: >"$source/empty"
for name in 'per%cent.txt' 'plus+and space.txt' "quote's \"double\".txt" '😀 hash #?&=;.txt' 'trailing.'; do
    echo "content of $name" >"$source/sub dir/ä ö/$name"
done
head -c 12345678 /dev/urandom >"$source/large.bin"
parts=(--b2-upload-cutoff 5M --b2-chunk-size 5M)

"$rclone" mkdir L:first-bucket
"$rclone" copy "$source" L:first-bucket/up "${parts[@]}"
"$rclone" check "$source" L:first-bucket/up --download
expect "the number of files" "$("$rclone" lsf -R --files-only L:first-bucket | wc -l)" 8
expect "a size" "$("$rclone" lsf --format sp L:first-bucket/up/large.bin)" "12345678;large.bin"

"$rclone" copy L:first-bucket/up "$work/down"
diff -r "$source" "$work/down" || fail "what came down is not what went up"
cmp <(tail -c +5000001 "$source/large.bin" | head -c 1000) \
    <("$rclone" cat --offset 5000000 --count 1000 L:first-bucket/up/large.bin) || fail "a range differs"

echo second >"$source/a.txt"
"$rclone" copy "$source" L:first-bucket/up "${parts[@]}"
expect "the new version" "$("$rclone" cat L:first-bucket/up/a.txt)" second
expect "the number of versions" "$("$rclone" lsf --files-only --b2-versions L:first-bucket/up --include 'a*.txt' | wc -l)" 2

"$rclone" delete L:first-bucket/up/a.txt
expect "a deleted file" "$("$rclone" lsf --files-only L:first-bucket/up --include a.txt)" ""
expect "the hidden versions" "$("$rclone" lsf --files-only --b2-versions L:first-bucket/up --include 'a*.txt' | wc -l)" 2
"$rclone" copyto L:first-bucket/up/large.bin L:first-bucket/copy/large.bin
"$rclone" copyto L:first-bucket/up/large.bin L:first-bucket/parts/large.bin --b2-copy-cutoff 5M --b2-chunk-size 5M
"$rclone" cat L:first-bucket/copy/large.bin | cmp - "$source/large.bin" || fail "a copy differs"
"$rclone" cat L:first-bucket/parts/large.bin | cmp - "$source/large.bin" || fail "a copy in parts differs"
"$rclone" cleanup L:first-bucket
expect "versions after the clean-up" "$("$rclone" lsf --files-only --b2-versions L:first-bucket/up --include 'a*.txt')" ""

"$rclone" link L:first-bucket/up/empty >/dev/null
"$rclone" purge L:first-bucket
expect "the buckets left" "$("$rclone" lsf L:)" ""
echo "rclone agrees."
