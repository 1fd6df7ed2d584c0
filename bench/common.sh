# Shared by the benchmarks: finding the binary and the tools, timing runs and reading medians.
# Sourced after `repo` and `name` are set; honours BUILD_DIR, DUSTWHALE, RUNS, MAX_LOAD and
# LOAD_WAIT.

runs=${RUNS:-7}
build_dir=${BUILD_DIR:-$repo/build/release}
dustwhale=${DUSTWHALE:-$build_dir/src/dustwhale}
max_load=${MAX_LOAD:-0.7}
load_wait=${LOAD_WAIT:-600}

die() { echo "$name: $*" >&2; exit 1; }

if [ ! -x /usr/bin/time ]; then
  DUSTWHALE_BENCH=1 "$repo/scripts/bootstrap"
fi
if [ ! -x "$dustwhale" ]; then
  [ -n "${DUSTWHALE:-}" ] && die "$dustwhale is not an executable"
  echo "building the release binary in $build_dir" >&2
  (cd "$repo" && cmake --preset release -B "$build_dir" >/dev/null &&
    cmake --build "$build_dir" -j2 --target dustwhale >/dev/null)
fi

# Microseconds of one run.
elapsed_us() {
  local start end
  start=$(date +%s%N)
  "$@" >/dev/null
  end=$(date +%s%N)
  echo $(((end - start) / 1000))
}
median() { tr ' ' '\n' | sed '/^$/d' | sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
load1() { cut -d' ' -f1 /proc/loadavg; }
peak_kib() { /usr/bin/time -v "$@" 2>&1 >/dev/null | awk -F: '/Maximum resident set size/ { gsub(/ /, "", $2); print $2 }'; }

# Both tools use every core they get: wait (up to load_wait seconds) for a quiet machine.
wait_for_quiet() {
  local waited=0
  while awk -v l="$(load1)" -v m="$max_load" 'BEGIN { exit !(l > m) }' && [ "$waited" -lt "$load_wait" ]; do
    echo "load average $(load1) is above $max_load; waiting" >&2
    sleep 30
    waited=$((waited + 30))
  done
}

# Runs the reference (the function `reference`) and ours (`ours`) once each to warm the cache,
# then alternately, so that a busy moment of the machine falls on both; sets ref_us and our_us
# to the medians.
time_both() {
  reference >/dev/null
  ours >/dev/null
  local ref_times="" our_times=""
  for _ in $(seq "$runs"); do
    ref_times+=" $(elapsed_us reference)"
    our_times+=" $(elapsed_us ours)"
  done
  ref_us=$(echo "$ref_times" | median)
  our_us=$(echo "$our_times" | median)
}

# Like time_both for any number of commands, each a function name: every one runs once to warm
# the cache, then all of them in turn, RUNS times. Sets median_us[name] for each.
declare -A median_us
time_all() {
  local f
  declare -A times
  for f in "$@"; do "$f" >/dev/null 2>&1; done
  for _ in $(seq "$runs"); do
    for f in "$@"; do times[$f]+=" $(elapsed_us "$f")"; done
  done
  for f in "$@"; do median_us[$f]=$(echo "${times[$f]}" | median); done
}
