# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Reads the JUnit file that CTest writes. Prints "counts PASSED FAILED SKIPPED", then one line for
# each test that was skipped, with the reason it gave, and for each that failed, the latter followed
# by "said" lines: the beginning of what it printed, without GoogleTest's frame.
# Used by scripts/test.

function attribute(name) {
    return match($0, " " name "=\"[^\"]*\"") ? substr($0, RSTART + length(name) + 3, RLENGTH - length(name) - 4) : ""
}

function plain(text) {
    gsub(/&lt;/, "<", text)
    gsub(/&gt;/, ">", text)
    gsub(/&quot;/, "\"", text)
    gsub(/&apos;/, "'", text)
    gsub(/&amp;/, "\\&", text)
    return text
}

/<testcase / {
    name = attribute("name")
    status = attribute("status")
    reason = ""
    wanted = 1
    said = ""
    said_lines = 0
    next
}

/<system-out>/ { sub(/.*<system-out>/, "") }

# GoogleTest's reason follows its "Skipped" line; any other program's is the last line it prints.
status == "notrun" && /: Skipped$/ { reason = ""; wanted = 2; next }
status == "notrun" && wanted == 2 { reason = $0; wanted = 0; next }
status == "notrun" && wanted == 1 && !/<\/?(system-out|skipped|testcase)/ && NF { reason = $0 }

status == "fail" && !/^\[|^Running main|^Note: Google|<\/?(system-out|failure|testcase)/ && NF && said_lines < 12 {
    said = said "said " plain($0) "\n"
    ++said_lines
}

/<\/testcase>/ {
    if (status == "run") {
        ++passed
    } else if (status == "fail") {
        ++failed
        lines = lines "failed " plain(name) "\n" said
    } else {
        ++skipped
        lines = lines "skipped " plain(name) ": " \
            plain(status == "disabled" ? "disabled" : reason == "" ? "gave no reason" : reason) "\n"
    }
    status = ""
}

END {
    printf "counts %d %d %d\n%s", passed, failed, skipped, lines
}
