# Shared by scripts/test and scripts/demo: install what is missing, then configure and build.

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

BASE_PACKAGES=(build-essential cmake ninja-build git pkg-config uuid-dev libgtest-dev libgmock-dev libbenchmark-dev)

# configure_and_build BUILD_DIR [cmake options...]
configure_and_build() {
    local dir="$1"
    shift
    cmake -S "$ROOT" -B "$dir" -G Ninja "$@" >"$dir.configure.log" 2>&1 || {
        cat "$dir.configure.log"
        return 1
    }
    cmake --build "$dir" -j "$(nproc)"
}
