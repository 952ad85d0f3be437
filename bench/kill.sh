# An upload of 500 MB in 25 parts, killed at a random moment and restarted, BENCH_KILLS (200) times: how often the
# service ends with the file's bytes, and with no more sent twice than the four parts that can be in flight.
# The answers to the start and to the finish are late, so that kills meet the moments around them too.
kills=${BENCH_KILLS:-200}
length=500000000
part=20000000
head -c $length /dev/urandom >"$scratch/killed.bin"
digest=$(sha1sum <"$scratch/killed.bin" | cut -d' ' -f1)
start_service kill --without-md5 --part-size $part
curl -sS -o /dev/null "$BENCH_URL/_local/faults" -d '[
    {"operation":"b2_start_large_file","kind":"stall","in":"answer","milliseconds":150},
    {"operation":"b2_finish_large_file","kind":"stall","in":"answer","milliseconds":150}]'

# begin N: the service and the state of try N, and its run in the background.
begin() {
    rclone mkdir "l:kill-$1"
    mkdir "$scratch/state-$1"
    control DELETE counts >/dev/null
    "$bin/bench_queue" "kill-$1" "$scratch/state-$1" "$scratch/killed.bin" >/dev/null &
    client=$!
}

end() {
    rclone purge "l:kill-$1"
    rm -rf "$scratch/state-$1"
}

# count OPERATION: how often the service did it.
count() {
    grep -o "\"$1\":{[^}]*\"200\":[0-9]*" <<<"$counts" | grep -o '[0-9]*$' || echo 0
}

# The time of an undisturbed run, in milliseconds.
started=$(date +%s%N)
begin undisturbed
wait "$client"
whole=$((($(date +%s%N) - started) / 1000000))
end undisturbed

right=0
declare -A moments=()
most=0
for ((try = 0, killed = 0; killed < kills; ++try)); do
    begin "$try"
    sleep "$(compute "$((RANDOM * 32768 + RANDOM)) / 1073741824 * $whole / 1000")"
    kill -9 "$client" 2>/dev/null || true
    if wait "$client" 2>/dev/null; then
        end "$try"
        continue # It was done before.
    fi
    killed=$((killed + 1))
    counts=$(control GET counts)
    stored=$(count b2_upload_part)
    if [ "$(count b2_finish_large_file)" -gt 0 ]; then
        moment="after the finish"
    elif [ "$(count b2_start_large_file)" = 0 ]; then
        moment="before the start"
    elif [ "$stored" = 0 ]; then
        moment="before the first part was stored"
    else
        moment="among the parts"
    fi
    moments[$moment]=$((${moments[$moment]:-0} + 1))

    if ! "$bin/bench_queue" "kill-$try" "$scratch/state-$try" "$scratch/killed.bin" >"$scratch/resumed"; then
        report "kill: try $try, killed $moment with $stored parts stored, did not end: $(cat "$scratch/resumed")"
    else
        counts=$(control GET counts)
        again=$(($(grep -o '"bytesIn":[0-9]*' <<<"$counts" | cut -d: -f2) - length))
        [ $again -le $most ] || most=$again
        stored_digest=$(control GET "digest?bucket=kill-$try&file=killed.bin" | grep -o '[0-9a-f]\{40\}' | head -1)
        # The requests themselves are a few kilobytes.
        if [ "$stored_digest" = "$digest" ] && [ $again -le $((4 * part + 100000)) ]; then
            right=$((right + 1))
        else
            report "kill: try $try, killed $moment with $stored parts stored: $stored_digest, $again bytes sent again"
        fi
    fi
    end "$try"
done
for moment in "${!moments[@]}"; do
    report "kill: ${moments[$moment]} times $moment"
done
report "kill: at most $(compute "$most / 1000000") MB sent again; an undisturbed upload takes $whole ms"
figure kill runs-right $right at-least "$kills"
