# The manual page tessarine(1) that the build writes: groff reads it without a warning, and its
# COMMANDS and OPTIONS list exactly what `tessarine --help` lists, word for word in the heads
# ("mail N", "-h, --help").
set -u
fail() {
    echo "FAIL: $*" >&2
    exit 1
}
[ -s "$MAN_PAGE" ] || fail "no manual page at $MAN_PAGE"
[ "$(gzip -dc "$MAN_PAGE.gz")" = "$(cat "$MAN_PAGE")" ] || fail "the compressed page differs"
warnings=$(groff -man -ww -z -Tutf8 "$MAN_PAGE" 2>&1)
[ -z "$warnings" ] || fail "groff warns: $warnings"
grep -q '^\.TH "*tessarine"* "*1"*' "$MAN_PAGE" || fail "not the page tessarine(1)"

# The heads of a rendered section's items: the lines at the section's text margin that the
# next line indents further.
man_heads() {
    groff -man -Tutf8 -P-cbou -rLL=200n "$MAN_PAGE" | expand | awk -v section="$1" '
        /^[A-Z]/ { inside = ($0 == section); next }
        !inside { next }
        /^ *$/ { next }
        {
            match($0, /^ */)
            indent = RLENGTH
            if (head != "" && indent > headIndent) print head
            head = ""
            if (indent == 7) { head = substr($0, 8); headIndent = indent }
        }'
}
# The heads of the --help blocks: the lines indented by two spaces under a line that starts with
# the block's word, up to the description.
help_heads() {
    "$TESSARINE" --help | awk -v block="$1" '
        /^[^ ]/ { inside = (index($0, block) == 1); next }
        inside && /^  [^ ]/ { line = substr($0, 3); sub(/  .*/, "", line); print line }'
}

commands_help=$(help_heads Commands)
options_help=$(help_heads Options)
[ -n "$commands_help" ] && [ -n "$options_help" ] || fail "--help lists no commands or options"
[ "$(man_heads COMMANDS)" = "$commands_help" ] ||
    fail "the commands differ: page: $(man_heads COMMANDS | paste -sd'|') help: $(paste -sd'|' <<<"$commands_help")"
[ "$(man_heads OPTIONS)" = "$options_help" ] ||
    fail "the options differ: page: $(man_heads OPTIONS | paste -sd'|') help: $(paste -sd'|' <<<"$options_help")"

# And each option the help names works.
for option in $(tr ',' ' ' <<<"$options_help"); do
    "$TESSARINE" "$option" >/dev/null || fail "$option fails"
done
echo PASS
