# The main thread while 100,000 rows load, scroll, sort and are filtered, off-screen.
export QT_QPA_PLATFORM=offscreen QT_LOGGING_RULES=default.warning=false XDG_RUNTIME_DIR=$scratch/runtime
mkdir -m 700 "$XDG_RUNTIME_DIR"
rows=100000
awk -v rows=$rows 'BEGIN {
    printf "{\"buckets\":[{\"name\":\"many-rows\",\"files\":["
    for (i = 0; i < rows; ++i)
        printf "%s{\"name\":\"many/item-%06d-of-%d.txt\",\"size\":%d,\"time\":%.0f}", i ? "," : "", i, i * 7919 % 1000, \
            i % 97, 1.7e12 + i * 7919 % 100003 * 1000
    printf "]}]}"
}' >"$scratch/seed.json"
start_service rows --seed "$scratch/seed.json"

for ((run = 0; run < runs; ++run)); do
    run_client rows "$bin/bench_rows" many-rows many/ $rows >"$scratch/stalls"
    sort -g -k2 "$scratch/stalls" | tail -1 | cut -d' ' -f2 >>"$scratch/rows.longest"
    report "rows: $(tr '\n' ' ' <"$scratch/stalls")in $(tail -1 "$scratch/rows.wall") s"
done
figure rows milliseconds-longest-stall "$(median rows.longest)" at-most 50
