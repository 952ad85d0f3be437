# A checked download of 1 GB, without and with TLS.
# Of rclone's two ways, one stream and the four of its default, the one counts that takes less processor time.
length=1000000000
mkdir "$scratch/source"
head -c $length /dev/urandom >"$scratch/source/large.bin"

# download_figures NAME RCLONE-OPTION…
download_figures() {
    local name=$1 run ours theirs single
    shift
    rclone mkdir "$@" l:downloads
    "$bin/bench_upload" downloads "$scratch/source" >/dev/null
    for ((run = 0; run < runs; ++run)); do
        run_client "$name-ours" "$bin/bench_download" downloads large.bin "$scratch/ours.bin" >>"$scratch/$name.growth"
        cmp "$scratch/source/large.bin" "$scratch/ours.bin"
        rm "$scratch/ours.bin"
        run_client "$name-rclone" rclone copyto "$@" l:downloads/large.bin "$scratch/rclone.bin"
        rm "$scratch/rclone.bin"
        run_client "$name-single" rclone copyto "$@" --multi-thread-streams 0 l:downloads/large.bin "$scratch/rclone.bin"
        rm "$scratch/rclone.bin"
    done
    ours=$(median "$name-ours.cpu")
    theirs=$(median "$name-rclone.cpu")
    single=$(median "$name-single.cpu")
    tell "$name: $ours s of processor time in $(median "$name-ours.wall") s, rclone $theirs s in" \
        "$(median "$name-rclone.wall") s, with one stream $single s in $(median "$name-single.wall") s"
    figure "$name" cpu-ratio "$(reckon "$ours / ($theirs < $single ? $theirs : $single)")" at-most 0.6
    figure "$name" megabytes-over-idle "$(reckon "$(median "$name.growth") * 1024 / 1000000")" at-most 30
}

start_service download
download_figures download
stop_service
rm -rf "$scratch/download"

openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost -addext "subjectAltName=IP:127.0.0.1,DNS:localhost" \
    -keyout "$scratch/tls.key" -out "$scratch/tls.crt" 2>/dev/null
export BENCH_CA=$scratch/tls.crt
start_service download-tls --tls "$scratch/tls.crt" "$scratch/tls.key"
download_figures download-tls --ca-cert "$scratch/tls.crt"
stop_service
unset BENCH_CA
