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
  python3 rsync gcovr locales
  fonts-league-spartan fonts-open-sans
)
own_list=1
if [ "$#" -gt 0 ]; then
  own_list=0
  label="${DEPS_LABEL:-deps}"
  packages=("$@")
fi

sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
  sudo_cmd=(sudo)
fi

# A locale whose decimal separator is a comma: the tests check that numbers
# written into documents do not follow the host's locale.
comma_locale() {
  [ "$own_list" = 1 ] || return 0
  if ! locale -a 2>/dev/null | grep -qiE '^de_DE\.utf-?8$'; then
    echo "$label: generating the de_DE.UTF-8 locale"
    "${sudo_cmd[@]}" localedef -i de_DE -f UTF-8 de_DE.UTF-8
  fi
}

missing=()
for p in "${packages[@]}"; do
  if ! dpkg -s "$p" >/dev/null 2>&1; then
    missing+=("$p")
  fi
done

if [ "${#missing[@]}" -eq 0 ]; then
  echo "$label: all ${#packages[@]} packages present"
  comma_locale
  exit 0
fi

echo "$label: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -q
"${sudo_cmd[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
comma_locale
