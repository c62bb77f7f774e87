# Shared by the scripts beside it: where the tree is, what the machine must have, how a preset is built.
# Source it from bash. Progress goes to standard error, one line a step; what a step prints goes to a log that is shown only
# when the step fails.

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
jobs=$(nproc)
export CTEST_OUTPUT_ON_FAILURE=1

# Exact names of Debian 12. libboost-dev would be 1.74, which conflicts with 1.81.
packages=(
    cmake g++ ninja-build ccache pkg-config python3
    libtbb-dev libicu-dev zlib1g-dev libboost1.81-dev libboost-log1.81-dev libcli11-dev libedit-dev
    libgtest-dev libgmock-dev libbenchmark-dev librapidcheck-dev abigail-tools gfortran gdb valgrind gcovr
    clang clang-tidy clang-format libclang-rt-14-dev
)

say() { printf '%s\n' "$*" >&2; }

# step TITLE COMMAND...: runs the command; when it fails, shows the end of its output and ends the script with its status.
step() {
    local title=$1 log status=0
    shift
    mkdir -p "$root/build/logs"
    log=$root/build/logs/$(printf '%s' "$title" | tr -c 'A-Za-z0-9\n' '-').log
    say "$title"
    "$@" >"$log" 2>&1 || status=$?
    if [ "$status" -ne 0 ]; then
        tail -n 60 "$log" >&2
        say "failed (status $status): $title; all of its output: ${log#"$root"/}"
        exit "$status"
    fi
}

missing_packages() {
    local installed name
    installed=$(dpkg-query -W -f='${Package} ${db:Status-Status}\n' "${packages[@]}" 2>/dev/null || true)
    for name in "${packages[@]}"; do
        grep -qxF "$name installed" <<<"$installed" || printf '%s\n' "$name"
    done
}

install_packages() {
    export DEBIAN_FRONTEND=noninteractive
    "$@" apt-get update
    "$@" apt-get install -y --no-install-recommends "${missing[@]}"
}

# Installs what is missing; touches nothing, not even the package index, when all is there.
need_packages() {
    if ! command -v dpkg-query >/dev/null; then
        say "not a Debian system: these packages, or their like, must be there: ${packages[*]}"
        return
    fi
    mapfile -t missing < <(missing_packages)
    [ "${#missing[@]}" -eq 0 ] && return
    if [ "$(id -u)" -eq 0 ]; then
        step "installing ${#missing[@]} packages" install_packages
    elif command -v sudo >/dev/null; then
        step "installing ${#missing[@]} packages" install_packages sudo
    else
        say "as root, run: apt-get update && apt-get install -y ${missing[*]}"
        exit 1
    fi
}

# build_preset PRESET [TARGET...]: configures at the first time (later, the build itself notices what changed) and builds.
build_preset() {
    local preset=$1 targets=()
    shift
    [ $# -eq 0 ] || targets=(--target "$@")
    [ -f "build/$preset/build.ninja" ] || step "configuring $preset" cmake --preset "$preset"
    step "building $preset" cmake --build --preset "$preset" --parallel "$jobs" "${targets[@]}"
}

# test_preset PRESET [CTEST-ARGUMENT...]: ctest over a built preset; its summary is the last thing printed.
test_preset() {
    local preset=$1
    shift
    ctest --preset "$preset" --parallel "$jobs" "$@"
}
