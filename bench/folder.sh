# A folder through the program's own queue: 10,000 files of 10 KB, and 1,000 to a service that answers 50 ms late.
files=10000
late_files=1000
latency=50
# folder_of COUNT DIRECTORY
folder_of() {
    mkdir "$2"
    head -c $(($1 * 10000)) /dev/urandom | split -b 10000 -a 4 -d - "$2/file-"
}
folder_of $files "$scratch/files"
folder_of $late_files "$scratch/late"

start_service folder
for ((run = 0; run < runs; ++run)); do
    rclone mkdir "l:ours-$run"
    rclone mkdir "l:rclone-$run"
    run_client folder-ours "$bin/bench_queue" "ours-$run" "$scratch/state-$run" "$scratch/files" >/dev/null
    run_client folder-rclone rclone copy --transfers 1 --checkers 1 "$scratch/files" "l:rclone-$run/files"
done
rclone check --checkers 8 "$scratch/files" l:ours-0/files
stop_service
report "folder: $(median folder-ours.cpu) s of processor time in $(median folder-ours.wall) s," \
    "rclone $(median folder-rclone.cpu) s in $(median folder-rclone.wall) s"
figure folder rate-ratio "$(compute "$(median folder-rclone.wall) / $(median folder-ours.wall)")" at-least 10

start_service folder-late --latency $latency
for ((run = 0; run < runs; ++run)); do
    rclone mkdir "l:late-$run"
    control DELETE counts >/dev/null
    run_client folder-late "$bin/bench_queue" "late-$run" "$scratch/state-late-$run" "$scratch/late" >/dev/null
    control GET counts | grep -o '"requests":[0-9]*' | cut -d: -f2 >>"$scratch/folder-late.requests"
done
figure folder requests-a-file "$(compute "$(median folder-late.requests) / $late_files")" at-most 1.01
figure folder wall-over-latency "$(compute "$(median folder-late.wall) / ($late_files * $latency / 1000)")" at-most 1.05
