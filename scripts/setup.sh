#!/usr/bin/env bash
# Installs every Debian package the project needs to build, test and run.
# Safe to run again: apt-get skips what is already there.
set -euo pipefail
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
PACKAGES=(
  build-essential cmake pkg-config git
  clang libclang-rt-dev            # fuzzing (libFuzzer) and sanitizers
  libgtest-dev libgmock-dev libbenchmark-dev
  libdxflib-dev                    # the load benchmark's yardstick (bench/db)
  libboost-context-dev             # one stack per running command
  libfreetype-dev libfontconfig-dev fonts-dejavu-core
  libpolyclipping-dev libcairo2-dev
  fonts-vlgothic                   # Japanese glyphs for plotted text
  poppler-utils                    # tests read plotted PDF back with pdftoppm
  libgraphicsmagick++1-dev         # raster images: sizes, resolutions, pixels for plots
  libreadline-dev libcli11-dev libfmt-dev
  python3 python3-ezdxf            # independent DXF reader used by the tests
  python3-pil                      # plot tests read PNG pixels
  python3-matplotlib               # ezdxf's drawing add-on, the plot benchmark's yardstick
  time
)
export DEBIAN_FRONTEND=noninteractive
missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
echo "setup: all packages present"
