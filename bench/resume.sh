# From the start of a process that goes on with a killed upload of 1 GB to its first new byte: the time that the digest
# of one part of 100 MB takes is its own, for the lowest stored part is compared with the file.
length=1000000000
part=100000000
head -c $length /dev/urandom >"$scratch/resumed.bin"
start_service resume --without-md5 --part-size $part
for ((run = 0; run < runs; ++run)); do
    rclone mkdir "l:resume-$run"
    # What comes after three parts stands still.
    curl -sS -o /dev/null "$BENCH_URL/_local/faults" -d '{"operation":"b2_upload_part","kind":"stall","in":"request",
        "milliseconds":60000,"at":1000,"after":3}'
    control DELETE requests >/dev/null
    "$bin/bench_queue" "resume-$run" "$scratch/state-$run" "$scratch/resumed.bin" >/dev/null &
    client=$!
    until [ "$(control GET counts | grep -o '"b2_upload_part":{"200":3' | wc -l)" = 1 ]; do sleep 0.05; done
    kill -9 $client
    wait $client 2>/dev/null || true
    curl -sS -X DELETE "$BENCH_URL/_local/faults" >/dev/null
    control DELETE requests >/dev/null

    started=$(date +%s%3N)
    "$bin/bench_queue" "resume-$run" "$scratch/state-$run" "$scratch/resumed.bin" >/dev/null
    control GET requests | tr '{' '\n' | grep '"operation":"b2_upload_part"' | grep -o '"time":[0-9]*' | cut -d: -f2 |
        sort -n | head -1 | awk -v started="$started" '{ print ($1 - started) / 1000 }' >>"$scratch/resume.first"
    cat "$scratch/resumed.bin" >/dev/null
    head -c $part "$scratch/resumed.bin" >"$scratch/part"
    run_client resume-part openssl dgst -sha1 "$scratch/part" >/dev/null
    rclone purge "l:resume-$run"
done
figure resume seconds-to-first-byte "$(median resume.first)" at-most "$(compute "1 + $(median resume-part.wall)")"
