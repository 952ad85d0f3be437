# The browser pane over a folder of 100,000 names: the longest time the main thread was held while it was loaded,
# scrolled, sorted and filtered.
names=100000
seq "$names" | awk 'BEGIN { printf "{\"buckets\":[{\"name\":\"browse-many\",\"files\":[" }
    { printf "%s{\"name\":\"holiday %d of %d.jpg\",\"size\":%d}", (NR > 1 ? "," : ""), ($1 * 7919) % 100000, NR, NR % 9 }
    END { print "]}]}" }' >"$scratch/browse.json"
start_service browse --seed "$scratch/browse.json"

for ((run = 0; run < runs; ++run)); do
    QT_QPA_PLATFORM=offscreen "$bin/bench_browse" browse-many $names >"$scratch/browsed"
    read -r load scroll sort filter <"$scratch/browsed"
    for part in load scroll sort filter; do
        echo "${!part}" >>"$scratch/browse.$part"
    done
done

for part in load scroll sort filter; do
    figure browse "$part-stall-milliseconds" "$(median "browse.$part")" at-most 50
done
