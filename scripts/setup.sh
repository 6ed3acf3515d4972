#!/usr/bin/env bash
# Installs the Debian packages that are missing: scripts/setup.sh [build] [check] [coverage]; "build" by default.
# Quick and silent when nothing is missing. Needs root or passwordless sudo only when something is.
set -euo pipefail

build=(
    g++ cmake ninja-build pkg-config
    libcairo2-dev libpango1.0-dev libjpeg-dev fonts-dejavu-core fonts-vlgothic  # plots, with Latin and Japanese letters
    libcli11-dev libsndfile1-dev nlohmann-json3-dev
    libgtest-dev libgmock-dev)
check=(git clang clang-format libclang-rt-14-dev llvm libbenchmark-dev binutils)
coverage=(clang libclang-rt-14-dev llvm)

wanted=()
for group in "${@:-build}"; do
    case $group in
        build) wanted+=("${build[@]}") ;;
        check) wanted+=("${check[@]}") ;;
        coverage) wanted+=("${coverage[@]}") ;;
        *) echo "setup.sh: unknown group '$group' (build, check, coverage)" >&2; exit 2 ;;
    esac
done

if ! command -v apt-get >/dev/null; then
    echo "setup.sh: no apt-get here; the build needs what these Debian packages hold: ${wanted[*]}" >&2
    exit 0
fi

missing=()
for package in "${wanted[@]}"; do
    [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) == installed ]] || missing+=("$package")
done
((${#missing[@]})) || exit 0

if ((EUID == 0)); then
    as_root=(env)
elif sudo -n true 2>/dev/null; then
    as_root=(sudo -n env)
else
    echo "setup.sh: packages are missing; run this once, then try again:" >&2
    echo "sudo apt-get update && sudo apt-get install -y --no-install-recommends ${missing[*]}" >&2
    exit 1
fi

install() {
    "${as_root[@]}" DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends -o Dpkg::Use-Pty=0 "${missing[@]}" </dev/null
}
echo "setup.sh: installing ${missing[*]}"
# The package lists are fetched only when those at hand cannot serve. A foreign source that does not answer makes the
# update fail without mattering, so that the installation alone decides.
if ! install >/dev/null 2>&1; then
    "${as_root[@]}" apt-get update -qq </dev/null || true
    install >/dev/null
fi
