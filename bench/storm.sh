# Uploads of 200 parts while three requests in ten fail by script, in virtual time, one part at a time and four at once in
# turn: how many seeds of the script go exactly as the retry policy says, request for request and wait for wait.
# BENCH_SEEDS (1000).
seeds=${BENCH_SEEDS:-1000}
STORM_SEEDS=$seeds "$build/tests/B2Kit/LargeFileStormTest" >"$scratch/storm.log" || grep -B 2 -A 8 Failure "$scratch/storm.log"
figure storm seeds-right "$(grep -c "^\[       OK \]" "$scratch/storm.log")" at-least "$seeds"
