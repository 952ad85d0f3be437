# Functions that the benchmarks share. Sourced by `bench/run`, which sets `build` and `scratch`.

bin=$build/bench
runs=${BENCH_RUNS:-5}
failed=0

# start_service NAME OPTIONS…: the local service on a fresh directory. Sets BENCH_URL, BENCH_KEY_ID and BENCH_KEY, and
# rclone's remote "l:". Its time is never counted.
start_service() {
    local name=$1 fifo=$scratch/$1.fifo
    shift
    mkfifo "$fifo"
    "$build/localb2/localb2" --port 0 --data "$scratch/$name" "$@" >"$fifo" &
    service=$!
    read -r BENCH_URL BENCH_KEY_ID BENCH_KEY <"$fifo"
    rm "$fifo"
    export BENCH_URL BENCH_KEY_ID BENCH_KEY
    export RCLONE_CONFIG=/dev/null RCLONE_CONFIG_L_TYPE=b2 RCLONE_CONFIG_L_ENDPOINT=$BENCH_URL \
        RCLONE_CONFIG_L_ACCOUNT=$BENCH_KEY_ID RCLONE_CONFIG_L_KEY=$BENCH_KEY RCLONE_LOG_LEVEL=ERROR
}

stop_service() {
    if [ -n "${service:-}" ]; then
        kill "$service"
        wait "$service" || true
        service=
    fi
}

# make_certificate: tls.crt and tls.key for a service with TLS, which our clients trust from now on.
make_certificate() {
    openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost \
        -addext "subjectAltName=IP:127.0.0.1,DNS:localhost" \
        -keyout "$scratch/tls.key" -out "$scratch/tls.crt" 2>/dev/null
    export BENCH_CA=$scratch/tls.crt
}

# control METHOD PATH: asks the service's control.
control() {
    curl -sS ${BENCH_CA:+--cacert "$BENCH_CA"} -X "$1" "$BENCH_URL/_local/$2"
}

# run_client SERIES COMMAND…: runs a client and records its cost in the three files of the series.
run_client() {
    local series=$1 cpu wall memory
    shift
    "$bin/bench_measure" "$scratch/measured" "$@"
    read -r cpu wall memory <"$scratch/measured"
    echo "$cpu" >>"$scratch/$series.cpu"
    echo "$wall" >>"$scratch/$series.wall"
    echo "$memory" >>"$scratch/$series.memory"
}

# median SERIES.METRIC
median() {
    sort -g "$scratch/$1" | awk '{ v[NR] = $1 } END { m = int((NR + 1) / 2); print NR % 2 ? v[m] : (v[m] + v[m + 1]) / 2 }'
}

# compute EXPRESSION: prints the result with four significant digits.
compute() {
    awk "BEGIN { printf \"%.4g\", $1 }"
}

# figure NAME METRIC VALUE at-most|at-least TARGET: the closing line of a figure.
figure() {
    local verdict=short
    case $4 in
    at-most) awk "BEGIN { exit !($3 <= $5) }" && verdict=ok ;;
    at-least) awk "BEGIN { exit !($3 >= $5) }" && verdict=ok ;;
    esac
    [ $verdict = ok ] || failed=1
    printf '%s %s %s target %s %s\n' "$1" "$2" "$3" "$5" "$verdict"
}

# report TEXT…: prints the measurements behind the figures.
report() {
    printf '# %s\n' "$*"
}
