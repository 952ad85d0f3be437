# A clean build on this machine with two jobs and without the compiler cache: of the program, then of the rest, which is
# the tests and these benchmarks.
source_folder=$(cd "$here/.." && pwd)
clean=$scratch/clean
export CCACHE_DISABLE=1
cmake -S "$source_folder" --preset release -B "$clean" >/dev/null
# seconds_of TARGET: builds the target and prints the seconds it took.
seconds_of() {
    local started ended
    started=$(date +%s%N)
    cmake --build "$clean" -j 2 --target "$1" >/dev/null
    ended=$(date +%s%N)
    compute "($ended - $started) / 1000000000"
}
figure build program-seconds "$(seconds_of kestrovan)" at-most 240
figure build rest-seconds "$(seconds_of all)" at-most 240
unset CCACHE_DISABLE
