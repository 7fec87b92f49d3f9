# Shared by scripts/test, scripts/fuzz and scripts/demo: install what is missing, configure and build, and run
# the fuzz targets.

# Installs the Debian packages of "$@" that are not installed yet; apt-get runs only when something is missing.
ensure_packages() {
    local missing=()
    local package
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "installing: ${missing[*]}"
    local sudo=""
    [ "$(id -u)" -ne 0 ] && sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

BASE_PACKAGES=(build-essential ccache cmake ninja-build git pkg-config uuid-dev libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev
    libserialport-dev swig python3-dev python3-pytest python3-matplotlib)

# configure_and_build BUILD_DIR [cmake options...]
# With ccache, a build after a small change, or in a second worktree, recompiles only what changed.
configure_and_build() {
    local dir="$1"
    shift
    export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$ROOT}"
    local launchers=()
    command -v ccache >/dev/null &&
        launchers=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    cmake -S "$ROOT" -B "$dir" -G Ninja "${launchers[@]}" "$@" >"$dir.configure.log" 2>&1 || {
        cat "$dir.configure.log"
        return 1
    }
    cmake --build "$dir" -j "$(nproc)"
}

# The clang build with AddressSanitizer, UndefinedBehaviorSanitizer and the libFuzzer targets; scripts/test and
# scripts/fuzz configure it alike, so that either one's build is an incremental one for the other.
FUZZ_PACKAGES=(clang libclang-rt-14-dev)
ASAN_FUZZ_OPTIONS=(-DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++
    -DDEVICEBRIDGE_SANITIZE=address -DDEVICEBRIDGE_FUZZ=ON)

# Read only by sanitized programs; harmless for the rest.
export_sanitizer_options() {
    export ASAN_OPTIONS="detect_leaks=1:abort_on_error=0"
    export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
    export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1"
}

# run_fuzzers BUILD_DIR SECONDS: runs every fuzz target of the build for SECONDS each and prints its executions.
# Seeds are copied from tests/fuzz/corpus, so that the corpus a fuzzer grows never lands in the source tree. An
# input that fails a target is kept under a directory of its own, which is printed. Returns 1 on any finding.
run_fuzzers() {
    local dir="$1/fuzz" seconds="$2"
    local fuzzer status=0 findings
    [ -d "$dir" ] || return 0
    findings="$(mktemp -d -t devicebridge_findings.XXXXXX)"
    for fuzzer in "$dir"/*_fuzz; do
        [ -x "$fuzzer" ] || continue
        local name corpus log
        name="$(basename "$fuzzer")"
        corpus="$(mktemp -d -t "$name.XXXXXX")"
        log="$corpus.log"
        [ -d "$ROOT/tests/fuzz/corpus/$name" ] && cp -r "$ROOT/tests/fuzz/corpus/$name/." "$corpus/"
        echo "--- $name for ${seconds}s"
        (cd "$corpus" && "$fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
            -artifact_prefix="$findings/$name-" -print_final_stats=1 "$corpus" >"$log" 2>&1)
        if [ $? -ne 0 ]; then
            tail -n 60 "$log"
            echo "$name: finding (log above, input kept in $findings)"
            status=1
        fi
        local executions rate added
        executions="$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")"
        rate="$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")"
        added="$(sed -n 's/^stat::new_units_added: *//p' "$log")"
        echo "$name: ${executions:-?} executions (${rate:-?}/s), ${added:-?} new inputs, corpus of $(ls "$corpus" | wc -l)"
        rm -rf "$corpus" "$log"
    done
    rmdir "$findings" 2>/dev/null
    return $status
}
