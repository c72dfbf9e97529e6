#!/bin/sh
# in_read_only_folder.sh BIN_DIR COMMAND [ARGS...]
# Copies the program and its device libraries from BIN_DIR into a folder,
# makes that folder read-only in a mount namespace of its own, and runs
# COMMAND there with TAVELIN_READ_ONLY_FOLDER naming the folder and
# XDG_DATA_HOME a fresh one. Exits 77 (skipped) on a machine that gives no
# mount namespace.
set -eu
bin=$1
shift
unshare -rm true 2>/dev/null || { echo "no private mount namespace here: skipped"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/program" "$work/data"
cp "$bin/libkvr100.so" "$bin/libkvr_usb_io.so" "$bin/libkvr_usb_probe.so" "$work/program/"
TAVELIN_READ_ONLY_FOLDER="$work/program" XDG_DATA_HOME="$work/data" unshare -rm sh -c \
  'mount --bind "$1" "$1" && mount -o remount,ro,bind "$1" "$1" && shift && "$@"' \
  sh "$work/program" "$@"
