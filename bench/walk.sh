# A walk of 1,000,000 versions: 250,000 names with 4 versions each.
# rclone's `size` reads the same pages and prints nothing for a file, so it is its cheapest way through a listing.
versions=1000000
part=100000
start_service walk --seed big:$versions

for ((run = 0; run < runs; ++run)); do
    run_client walk-ours "$bin/bench_walk" big-archive $versions >"$scratch/walked"
    [ "$(cut -d' ' -f1 "$scratch/walked")" = $versions ]
    run_client walk-part "$bin/bench_walk" big-archive $part >/dev/null
    run_client walk-rclone rclone size --fast-list --b2-versions --json l:big-archive >"$scratch/walked"
    grep -q "\"count\":$versions" "$scratch/walked"
done

ours=$(median walk-ours.cpu)
theirs=$(median walk-rclone.cpu)
report "walk: $ours s of processor time in $(median walk-ours.wall) s, rclone size $theirs s in $(median walk-rclone.wall) s"
report "walk: $(median walk-ours.memory) kB at most, $(median walk-part.memory) kB for $part versions," \
    "rclone $(median walk-rclone.memory) kB"
figure walk cpu-ratio "$(compute "$ours / $theirs")" at-most 0.15
figure walk bytes-a-version \
    "$(compute "($(median walk-ours.memory) - $(median walk-part.memory)) * 1024 / ($versions - $part)")" at-most 1
