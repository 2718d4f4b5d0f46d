#!/usr/bin/env bash
# Installs everything vorno needs to build, test and run, by Debian package name.
# Idempotent: asks apt only for what is missing, and refreshes the package lists only then.
# Works as root or through sudo.
set -euo pipefail

packages=(
  # Build tools
  build-essential cmake ninja-build ccache pkg-config clang lld libclang-rt-14-dev libfuzzer-14-dev
  # Tests and benchmarks; python3 runs the include-order check
  libgtest-dev libgmock-dev libbenchmark-dev python3
  # Document, store and command line
  nlohmann-json3-dev libcli11-dev libicu-dev libplist-dev libtbb-dev
  # 2D drawing and text
  libcairo2-dev libpango1.0-dev libharfbuzz-dev libfontconfig-dev libfreetype-dev libfribidi-dev libthai-dev
  # Fonts: the system font and the fallbacks for localised art
  fonts-inter fonts-noto-core fonts-noto-cjk fonts-noto-color-emoji
  # Symbols: outline and filled icons that symbol names map to
  bootstrap-icons
  # Image codecs, vector images
  libspng-dev libpng-dev libjpeg62-turbo-dev libwebp-dev libtiff-dev libheif-dev libdeflate-dev
  librsvg2-dev libpoppler-glib-dev
  # Video; ffprobe of the ffmpeg package reads our MP4s back in the tests, independently of us
  libavformat-dev libavcodec-dev libavutil-dev libswscale-dev ffmpeg
  # End-to-end protocol tests
  nodejs npm
)

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$p")
done

# The machine may bring Node.js from elsewhere than Debian; a working node and npm will do.
if command -v node >/dev/null && command -v npm >/dev/null; then
  filtered=()
  for p in "${missing[@]}"; do [[ "$p" == nodejs || "$p" == npm ]] || filtered+=("$p"); done
  missing=("${filtered[@]}")
fi

if [[ ${#missing[@]} -eq 0 ]]; then
  exit 0
fi

sudo=()
if [[ $(id -u) -ne 0 ]]; then
  command -v sudo >/dev/null || { echo "setup: need root or sudo to install: ${missing[*]}" >&2; exit 1; }
  sudo=(sudo)
fi

echo "setup: installing ${missing[*]}"
"${sudo[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
