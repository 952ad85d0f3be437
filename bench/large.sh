# An upload of 1 GB in parts of 100 MB with the digest of the whole, without and with TLS.
length=1000000000
part=100000000
mkdir "$scratch/source"
head -c $length /dev/urandom >"$scratch/source/large.bin"

# forget_upload: makes room at the service, and touches its memory as for a download: it must not be new to whichever
# client comes first.
forget_upload() {
    rclone purge ${BENCH_CA:+--ca-cert "$BENCH_CA"} "l:$1"
    head -c $length /dev/zero >"$scratch/touched"
    rm "$scratch/touched"
    cat "$scratch/source/large.bin" >/dev/null
}

# digest_at_service BUCKET
digest_at_service() {
    control GET "digest?bucket=$1&file=large.bin" | grep -o '[0-9a-f]\{40\}'
}

# large_figures NAME CPU-RATIO RCLONE-OPTION…
large_figures() {
    local name=$1 cpu_ratio=$2 ours theirs digest
    shift 2
    digest=$(sha1sum <"$scratch/source/large.bin" | cut -d' ' -f1)
    for ((run = 0; run < runs; ++run)); do
        rclone mkdir "$@" "l:$name-ours-$run"
        run_client "$name-ours" "$bin/bench_large_upload" "$name-ours-$run" "$scratch/source/large.bin" $part \
            >>"$scratch/$name.growth"
        [ "$(digest_at_service "$name-ours-$run")" = "$digest" ]
        forget_upload "$name-ours-$run"
        rclone mkdir "$@" "l:$name-rclone-$run"
        run_client "$name-rclone" rclone copyto "$@" --b2-chunk-size 100M --b2-upload-cutoff 100M \
            "$scratch/source/large.bin" "l:$name-rclone-$run/large.bin"
        [ "$(digest_at_service "$name-rclone-$run")" = "$digest" ]
        forget_upload "$name-rclone-$run"
    done
    ours=$(median "$name-ours.cpu")
    theirs=$(median "$name-rclone.cpu")
    report "$name: $ours s of processor time in $(median "$name-ours.wall") s with $(median "$name-ours.memory") kB," \
        "rclone $theirs s in $(median "$name-rclone.wall") s with $(median "$name-rclone.memory") kB"
    figure "$name" cpu-ratio "$(compute "$ours / $theirs")" at-most "$cpu_ratio"
    figure "$name" memory-ratio "$(compute "$(median "$name-ours.memory") / $(median "$name-rclone.memory")")" at-most 0.2
    figure "$name" megabytes-over-idle "$(compute "$(median "$name.growth") * 1024 / 1000000")" at-most 64
    figure "$name" wall-ratio "$(compute "$(median "$name-ours.wall") / $(median "$name-rclone.wall")")" at-most 0.5
}

start_service large --without-md5
large_figures large 0.33
stop_service
rm -rf "$scratch/large"

make_certificate
start_service large-tls --without-md5 --tls "$scratch/tls.crt" "$scratch/tls.key"
# With TLS the service has as much work as the client. On two processors that bounds the time, which falls short then.
large_figures large-tls 0.45 --ca-cert "$scratch/tls.crt"
stop_service
unset BENCH_CA
