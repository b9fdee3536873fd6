#!/usr/bin/env bash
# rewrite_hex for tests/golden/run_golden.sh when TNASM_UPDATE_GOLDEN=1: sourced, not run.
#
# Rewrites an annotated hex file with new bytes, keeping each data line's byte count and
# comment; bytes beyond the old layout are appended 16 a line.
rewrite_hex() {
    local hex=$1 bytes=$2
    awk -v bytesfile="$bytes" '
        BEGIN { while ((getline b < bytesfile) > 0) all[total++] = b }
        {
            line = $0
            comment = ""
            semi = index(line, ";")
            if (semi > 0) { comment = substr(line, semi); line = substr(line, 1, semi - 1) }
            body = line
            gsub(/^[ \t]+|[ \t]+$/, "", body)
            if (body == "") { print $0; next }
            colon = index(body, ":")
            n = split(substr(body, colon + 1), old, /[ \t]+/)
            k = 0
            for (i = 1; i <= n; i++) if (old[i] != "") k++
            if (used >= total) next
            out = sprintf("%04x:", used)
            for (i = 0; i < k && used < total; i++) out = out " " all[used++]
            if (comment != "") out = sprintf("%-" (semi - 1) "s%s", out, comment)
            print out
        }
        END {
            while (used < total) {
                out = sprintf("%04x:", used)
                for (i = 0; i < 16 && used < total; i++) out = out " " all[used++]
                print out
            }
        }
    ' "$hex" > "$hex.new" && mv "$hex.new" "$hex"
}
