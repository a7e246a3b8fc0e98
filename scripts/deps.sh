#!/usr/bin/env bash
# Installs the Debian packages the project builds and tests with, or, with
# arguments, those packages instead (scripts/bench-deps.sh does that).
# Idempotent: asks apt only for what dpkg says is missing, and refreshes
# the package lists only when something has to be installed.
set -euo pipefail

label="deps"
packages=(
  build-essential cmake ninja-build pkg-config git
  clang libclang-rt-14-dev
  libgtest-dev libgmock-dev libbenchmark-dev libfftw3-dev
  zlib1g-dev libpng-dev libcjson-dev libstb-dev
  libsndfile1-dev
  lv2-dev liblilv-dev lilv-utils lv2file sordi
  libx11-dev libxext-dev libxtst-dev xvfb xauth
  jalv jackd2 x11-apps netpbm
  python3 rsync gcovr
  fonts-league-spartan fonts-open-sans
)
if [ "$#" -gt 0 ]; then
  label="${DEPS_LABEL:-deps}"
  packages=("$@")
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg -s "$p" >/dev/null 2>&1; then
    missing+=("$p")
  fi
done

if [ "${#missing[@]}" -eq 0 ]; then
  echo "$label: all ${#packages[@]} packages present"
  exit 0
fi

echo "$label: installing ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
  sudo_cmd=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -q
"${sudo_cmd[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
