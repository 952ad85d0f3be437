# 10,000 files of 10 KB to an empty bucket, one after another.
files=10000
start_service small-files
mkdir "$scratch/small"
head -c $((files * 10000)) /dev/urandom | split -b 10000 -a 4 -d - "$scratch/small/file-"

for ((run = 0; run < runs; ++run)); do
    rclone mkdir "l:ours-$run"
    rclone mkdir "l:rclone-$run"
    control DELETE counts >/dev/null
    run_client small-ours "$bin/bench_upload" "ours-$run" "$scratch/small" >"$scratch/uploaded"
    [ "$(cat "$scratch/uploaded")" = $files ]
    control GET counts | grep -o '"requests":[0-9]*' | cut -d: -f2 >>"$scratch/small-ours.requests"
    run_client small-rclone rclone copy --transfers 1 --checkers 1 "$scratch/small" "l:rclone-$run"
done
rclone check --checkers 8 "$scratch/small" l:ours-0

ours=$(median small-ours.cpu)
theirs=$(median small-rclone.cpu)
report "small-files: $ours s of processor time in $(median small-ours.wall) s," \
    "rclone $theirs s in $(median small-rclone.wall) s"
figure small-files requests-a-file "$(awk "BEGIN { printf \"%.5f\", $(median small-ours.requests) / $files }")" at-most 1.001
figure small-files rate-ratio "$(compute "$(median small-rclone.wall) / $(median small-ours.wall)")" at-least 20
figure small-files cpu-ratio "$(compute "$ours / $theirs")" at-most 0.25
