# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# For the tests that run ordinary V4L2 programs against simulated cameras: sourced by each, with
# LUMIQ_SIMULATOR (the library to preload) and LUMIQ_CAMERAS (the folder of descriptions) set.

# shellcheck shell=sh
set -eu

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# Skips the whole test, loudly, where a program is not installed.
need() {
    command -v "$1" >/dev/null 2>&1 || {
        echo "SKIPPED: $1 is not installed (Debian package $2), so nothing was tested" >&2
        exit 77
    }
}

# with_cameras DEVICES COMMAND...: runs a program that finds cameras under paths.
with_cameras() {
    devices=$1
    shift
    LUMIQ_SIMULATOR_DEVICES=$devices LD_PRELOAD=$LUMIQ_SIMULATOR "$@"
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
