# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Reads Google Benchmark's CSV lines, their names being "workload|competitor", and prints a table of medians: what the
# library takes, and the ratio library / competitor. Draws the ratios into the file named by -v svg=FILE.

BEGIN {
    FS = ","
    count = split("QMap;unordered_map;shared_mutex + unordered_map;QReadWriteLock + QVariantMap;SQLite", names, ";")
    split("#1b6ca8;#7db8da;#c8553d;#8a9a5b;#777777", colours, ";")
}

/^"/ && !/_(mean|median|stddev|cv)"/ {
    gsub(/"/, "", $1)
    split($1, name, "[|/]")
    workload = name[1]
    if (!(workload in samples))
        workloads[++rows] = workload
    samples[workload]++
    # Wall-clock time for threads and for what is no time at all, else processor time.
    values[workload, name[2]] = values[workload, name[2]] " " ($1 ~ /real_time|manual_time/ ? $3 : $4)
}

function median(texts,    n, list, i, j, swap)
{
    n = split(texts, list, " ")
    for (i = 2; i <= n; i++) {
        for (j = i; j > 1 && list[j - 1] + 0 > list[j] + 0; j--) {
            swap = list[j]
            list[j] = list[j - 1]
            list[j - 1] = swap
        }
    }
    return n ? (list[int((n + 1) / 2)] + list[int(n / 2) + 1]) / 2 : 0
}

function shown(workload, value)
{
    if (workload ~ /^(bytes|allocations)/)
        return sprintf("%.0f", value)
    return value < 1e4 ? sprintf("%.0f ns", value) : value < 1e7 ? sprintf("%.0f µs", value / 1e3) : sprintf("%.0f ms", value / 1e6)
}

function text(x, y, anchor, content)
{
    printf "<text x='%d' y='%d' text-anchor='%s'>%s</text>\n", x, y, anchor, content >svg
}

END {
    line = "| workload | library"
    rule = "|---|---:"
    for (c = 1; c <= count; c++) {
        line = line " | / " names[c]
        rule = rule "|---:"
    }
    print line " |\n" rule "|"

    # One dot per ratio on a logarithmic scale from 1/64 to 16; left of the line at 1 the library takes less.
    height = 18 * rows + 60
    printf "<svg xmlns='http://www.w3.org/2000/svg' width='900' height='%d' font-family='sans-serif' font-size='12'>\n", height >svg
    print "<rect width='100%' height='100%' fill='white'/>" >svg
    for (power = -6; power <= 4; power++) {
        x = 660 + power * 60
        printf "<path d='M%d 40V%d' stroke='%s'/>\n", x, height - 15, power ? "#ddd" : "#000" >svg
        text(x, 34, "middle", power < 0 ? "1/" 2 ^ -power : 2 ^ power)
    }
    for (c = 1; c <= count; c++) {
        printf "<circle cx='%d' cy='11' r='4' fill='%s'/>\n", 20 + (c - 1) * 170, colours[c] >svg
        text(28 + (c - 1) * 170, 15, "start", "/ " names[c])
    }
    for (r = 1; r <= rows; r++) {
        workload = workloads[r]
        library = median(values[workload, "library"])
        line = "| " workload " | " shown(workload, library)
        text(280, 44 + 18 * r, "end", workload)
        for (c = 1; c <= count; c++) {
            other = median(values[workload, names[c]])
            if (!other || !library) {
                line = line " | -"
                continue
            }
            line = line sprintf(" | %.2f", library / other)
            x = 660 + log(library / other) / log(2) * 60
            x = x < 295 ? 295 : x > 895 ? 895 : x
            printf "<circle cx='%.1f' cy='%d' r='4' fill='%s'/>\n", x, 40 + 18 * r, colours[c] >svg
        }
        print line " |"
    }
    print "</svg>" >svg
}
