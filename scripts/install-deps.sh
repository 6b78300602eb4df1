#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmarks need, and only those missing.
# Runs apt only when something is missing, so a repeated run costs nothing. Needs root (or sudo).
set -euo pipefail

packages=(
    g++ cmake ninja-build make pkg-config python3 git ca-certificates
    # The tool's command-line parser (header-only).
    libcli11-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    zlib1g-dev libpng-dev libtbb-dev liblcms2-dev libdeflate-dev
    # The fuzz preset: clang with its libFuzzer and sanitizer runtimes.
    clang libclang-rt-14-dev
    # Independent references the tests check against.
    libglm-dev imagemagick gzip glslang-tools
    # Peers of the benchmarks: image scaling, vertex unification, subdivision.
    libvips-dev libmeshoptimizer-dev libosd-dev
)

missing=()
for p in "${packages[@]}"; do
    if [ "$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null)" != "install ok installed" ]; then
        missing+=("$p")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    echo "install-deps: all packages present"
    exit 0
fi

sudo=()
if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null 2>&1; then
        sudo=(sudo)
    else
        echo "install-deps: missing ${missing[*]}; run as root to install them" >&2
        exit 1
    fi
fi

echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -q </dev/null
"${sudo[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}" </dev/null
