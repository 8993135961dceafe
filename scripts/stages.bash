# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Work done in named stages: one line each on the screen with duration and result, everything else
# in a log of its own. Sourced by scripts that have stages, after machine.bash.

# Set by the sourcing script before the first stage.
: "${logs:?the folder for the logs}"

failed_stages=()
skipped_stages=()

# stage NAME COMMAND... runs the command with its output in NAME's log. A failing one shows the end
# of its log and is remembered in failed_stages; the stage then returns non-zero. One that ends with
# 77 could not be run here and says why in its last line.
stage() {
    local name=$1 begin=$SECONDS code=0 file
    shift
    mkdir -p "$logs"
    file=$logs/${name//[^[:alnum:]]/-}.log
    printf '%-34s' "$name"
    ("$@") >"$file" 2>&1 </dev/null || code=$?
    if ((code == 0)); then
        printf '%5d s  ok\n' $((SECONDS - begin))
        return
    fi
    if ((code == 77)); then
        printf '   skipped: %s\n' "$(tail -n 1 "$file")"
        skipped_stages+=("$name: $(tail -n 1 "$file")")
        return
    fi
    printf '%5d s  FAILED (%d)\n' $((SECONDS - begin)) "$code"
    failed_stages+=("$name")
    printf '%s\n' "--- the end of $file:"
    tail -n 25 "$file" | cut -c 1-160
    printf '%s\n' "---"
    return "$code"
}

# Builds with a preset: configure and build as one command for a stage.
build_preset() {
    local preset=$1
    shift
    cmake --preset "$preset" || return
    cmake --build --preset "$preset" "$@"
}
