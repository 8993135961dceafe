# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# What can be said about the sources without running them. Each check prints its complaints and
# returns non-zero if it has any. Sourced by scripts/lint and scripts/test, which run them as stages
# from the top folder.

cpp_sources() {
    git ls-files --cached --others --exclude-standard -- '*.cpp' '*.h' '*.c'
}

shell_sources() {
    git ls-files --cached --others --exclude-standard -- scripts .ci tests |
        while read -r file; do
            if [[ $file == *.bash || $file == *.sh || $(head -c 64 "$file" | tr -d '\0') == '#!'*sh* ]]; then
                printf '%s\n' "$file"
            fi
        done
}

# Formatter and linter differ from one version to the next, in details of the layout and in what the
# linter has to say; one version judges.
readonly judging_version=14

# Ends with 77 and says why, if the program is of another version.
is_the_judge() {
    local version
    version=$("$1" --version | grep -oE 'version [0-9]+' | head -n 1)
    [[ $version == "version $judging_version" ]] || {
        echo "$1 is $version here; version $judging_version judges the sources"
        return 77
    }
}

check_format() {
    local files
    is_the_judge clang-format || return
    mapfile -t files < <(cpp_sources)
    ((${#files[@]})) || {
        echo "git lists no source file here"
        return 1
    }
    clang-format --dry-run --Werror "${files[@]}"
}

# With the preset lint the sources of a room are read as a few large ones: most of the linter's time goes
# into the system's headers. So no two files of a room may give the same name to different things, not
# even in unnamed namespaces. The analyzer follows paths only in a file of its own; what runs in a host's
# process is therefore read file by file. The tests and the benchmarks are left out: their frameworks'
# macros set off much of what the linter looks for.
check_tidy() {
    local files
    is_the_judge clang-tidy || return
    cmake --preset lint || return
    mapfile -t files < <(sed -n 's/^ *"file": "\(.*\)",\?$/\1/p' build/lint/compile_commands.json | sort -u)
    ((${#files[@]})) || {
        echo "no source file is named in build/lint/compile_commands.json"
        return 1
    }
    # Its exit code is the linter's: the filter has none of its own.
    printf '%s\n' "${files[@]}" |
        xargs -d '\n' -P "$(nproc)" -n 1 clang-tidy --quiet -p build/lint 2>&1 |
        { grep -vE '^[0-9]+ warnings? (generated|treated)|^Suppressed|^Use -header-filter' || true; }
}

check_shell() {
    local files
    mapfile -t files < <(shell_sources)
    ((${#files[@]})) || {
        echo "git lists no script here"
        return 1
    }
    shellcheck --version | sed -n 's/^version/shellcheck/p'
    shellcheck --external-sources --source-path=SCRIPTDIR "${files[@]}"
}
