# A checked download of 1 GB, without and with TLS.
# Of rclone's two ways, one stream and the four of its default, the one counts that takes less processor time.
length=1000000000
mkdir "$scratch/source"
head -c $length /dev/urandom >"$scratch/source/large.bin"

# touch_memory: a virtual machine gets its memory from its host at first touch, which would be charged to whichever
# client comes first. So each begins with pages that were in use a moment ago.
touch_memory() {
    rm -f "$scratch/ours.bin" "$scratch/rclone.bin"
    head -c $((length * 3 / 2)) /dev/zero >"$scratch/touched"
    rm "$scratch/touched"
}

# download_figures NAME RCLONE-OPTION…
download_figures() {
    local name=$1 run ours theirs single
    shift
    rclone mkdir "$@" l:downloads
    "$bin/bench_upload" downloads "$scratch/source" >/dev/null
    for ((run = 0; run < runs; ++run)); do
        touch_memory
        run_client "$name-ours" "$bin/bench_download" downloads large.bin "$scratch/ours.bin" >>"$scratch/$name.growth"
        cmp "$scratch/source/large.bin" "$scratch/ours.bin"
        touch_memory
        run_client "$name-rclone" rclone copyto "$@" l:downloads/large.bin "$scratch/rclone.bin"
        touch_memory
        run_client "$name-single" rclone copyto "$@" --multi-thread-streams 0 l:downloads/large.bin "$scratch/rclone.bin"
    done
    touch_memory
    ours=$(median "$name-ours.cpu")
    theirs=$(median "$name-rclone.cpu")
    single=$(median "$name-single.cpu")
    report "$name: $ours s of processor time in $(median "$name-ours.wall") s, rclone $theirs s in" \
        "$(median "$name-rclone.wall") s, with one stream $single s in $(median "$name-single.wall") s"
    figure "$name" cpu-ratio "$(compute "$ours / ($theirs < $single ? $theirs : $single)")" at-most 0.6
    figure "$name" megabytes-over-idle "$(compute "$(median "$name.growth") * 1024 / 1000000")" at-most 30
}

start_service download
download_figures download
stop_service
rm -rf "$scratch/download"

make_certificate
start_service download-tls --tls "$scratch/tls.crt" "$scratch/tls.key"
download_figures download-tls --ca-cert "$scratch/tls.crt"
stop_service
unset BENCH_CA
