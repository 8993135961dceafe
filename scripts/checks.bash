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
            if [[ $file == *.bash || $file == *.sh || $(head -c 64 "$file") == '#!'*sh* ]]; then
                printf '%s\n' "$file"
            fi
        done
}

# The layout differs in details from one version of the formatter to the next.
readonly formatter_version=14

check_format() {
    local files version
    version=$(clang-format --version)
    if [[ $version != *" version $formatter_version."* ]]; then
        echo "the sources are laid out by clang-format $formatter_version; here is $version"
        return 77
    fi
    mapfile -t files < <(cpp_sources)
    ((${#files[@]})) || return 0
    clang-format --dry-run --Werror "${files[@]}"
}

# Argument: a build folder that Clang compiled, for its compile commands. The tests
# and the benchmarks are left out: their frameworks' macros set off much of what the linter looks for.
check_tidy() {
    local build=$1 files
    [[ -r $build/compile_commands.json ]] || {
        echo "$build/compile_commands.json is missing: build with the preset clang first"
        return 1
    }
    clang-tidy --version
    mapfile -t files < <(git ls-files --cached --others --exclude-standard -- '*.cpp' |
        grep -vE '^(tests|bench)/' | while read -r file; do
            ! grep -qF "/$file\"" "$build/compile_commands.json" || printf '%s\n' "$file"
        done)
    ((${#files[@]})) || {
        echo "no source file is named in $build/compile_commands.json"
        return 1
    }
    printf '%s\n' "${files[@]}" |
        xargs -P "$(nproc)" -n 1 clang-tidy --quiet -p "$build" 2>&1 |
        grep -vE '^[0-9]+ warnings? (generated|treated)|^Suppressed|^Use -header-filter' || true
    ((PIPESTATUS[1] == 0))
}

check_shell() {
    local files
    mapfile -t files < <(shell_sources)
    shellcheck --version | sed -n 's/^version/shellcheck/p'
    shellcheck --external-sources --source-path=SCRIPTDIR "${files[@]}"
}
