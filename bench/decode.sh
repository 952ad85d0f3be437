# One page of 1,000 versions, from JSON to records.
"$bin/bench_decode" --benchmark_repetitions="$runs" --benchmark_format=csv 2>/dev/null |
    awk -F, '$1 ~ /^"decodePage\/1000"$/ { print $4 }' >"$scratch/decode.milliseconds"
figure decode milliseconds "$(compute "$(median decode.milliseconds)")" at-most 1.5
