# From the start of the process to the first painted window, with an activity log of 10 MB on disk, against an empty
# Qt window. Off-screen, so that both paint the same way on every machine.
export QT_QPA_PLATFORM=offscreen QT_LOGGING_RULES=default.warning=false XDG_RUNTIME_DIR=$scratch/runtime
mkdir -m 700 "$XDG_RUNTIME_DIR"
export XDG_STATE_HOME=$scratch/state XDG_CONFIG_HOME=$scratch/config XDG_DATA_HOME=$scratch/data \
    XDG_CACHE_HOME=$scratch/cache
mkdir -p "$scratch/state/kestrovan/Logs"
for part in activity-previous activity; do
    awk -v seed="$part" 'BEGIN {
        for (i = 0; bytes < 5000000; ++i) {
            line = sprintf("{\"category\":\"transfer\",\"date\":%d.25,\"detail\":\"photos/2026/%06d.jpg\",", 8e8 + i, i) \
                sprintf("\"id\":\"%08X-0000-4000-8000-%012X\",", i, seed == "activity") \
                sprintf("\"level\":1,\"message\":\"Uploaded item-%06d.jpg to photos\"}", i)
            bytes += length(line) + 1
            print line
        }
    }' >"$scratch/state/kestrovan/Logs/$part.jsonl"
done

for ((run = 0; run < 2 * runs; ++run)); do
    run_client window-empty "$bin/bench_empty_window"
    run_client window-ours "$bin/bench_window"
done
report "window: first painted after $(compute "$(median window-ours.wall) * 1000") ms," \
    "an empty window after $(compute "$(median window-empty.wall) * 1000") ms"
figure window milliseconds-over-empty \
    "$(compute "($(median window-ours.wall) - $(median window-empty.wall)) * 1000")" at-most 300
