#!/usr/bin/env bash
# Installs the Debian packages the build, tests and benchmarks need, only those missing.
set -euo pipefail
packages=(g++ clang cmake ninja-build pkg-config python3 libxml2-dev libicu-dev
          libgtest-dev libgmock-dev libbenchmark-dev libpugixml-dev libclang-rt-14-dev
          nlohmann-json3-dev python3-venv python3-wheel)
missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if ((${#missing[@]})); then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
