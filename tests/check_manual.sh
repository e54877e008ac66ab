#!/usr/bin/env bash
# The manual agrees with the tool: every command `chartxml --help` lists has
# its section, and each section names exactly the options its command's
# --help lists, no more and no fewer.
#   check_manual.sh TOOL MANUAL
set -euo pipefail
tool=$1
manual=$2
[ -s "$manual" ] || { echo "check_manual: $manual is missing or empty" >&2; exit 1; }

# The option words of a --help text's "options:" lines, one a line, sorted.
help_options() {
  awk '/^options:$/ { on = 1; next }
       on && /^  -/ { split(substr($0, 3), part, "  "); n = split(part[1], w, " ")
                      for (i = 1; i <= n; i++) if (w[i] ~ /^-/) { sub(/,$/, "", w[i]); print w[i] } }' |
    sort -u
}

# The bold option words of the tagged items in the manual's section of COMMAND.
manual_options() {
  awk -v head=".SS \"chartxml $1\"" '
    $0 == head { on = 1; next }
    on && /^\.S[HS]/ { exit }
    on && tp { while (match($0, /\\fB\\-[^\\]*(\\-[^\\]*)*\\fR/)) {
                 word = substr($0, RSTART + 3, RLENGTH - 6); gsub(/\\-/, "-", word); print word
                 $0 = substr($0, RSTART + RLENGTH) } }
    { tp = on && $0 == ".TP" }' "$manual" | sort -u
}

status=0
commands=$("$tool" --help | awk '/^commands:/ { on = 1; next } on && /^  [a-z]/ { print $1 } on && /^$/ { exit }')
[ -n "$commands" ] || { echo "check_manual: '$tool --help' lists no commands" >&2; exit 1; }
for command in $commands; do
  if ! grep -qx ".SS \"chartxml $command\"" "$manual"; then
    echo "check_manual: $manual has no section for '$command'" >&2
    status=1
    continue
  fi
  from_help=$("$tool" "$command" --help | help_options)
  from_manual=$(manual_options "$command")
  [ -n "$from_help" ] || { echo "check_manual: '$command --help' lists no options" >&2; status=1; }
  missing=$(comm -23 <(printf '%s\n' "$from_help") <(printf '%s\n' "$from_manual"))
  extra=$(comm -13 <(printf '%s\n' "$from_help") <(printf '%s\n' "$from_manual"))
  if [ -n "$missing" ]; then
    echo "check_manual: $command: options of --help missing from the manual:" $missing >&2
    status=1
  fi
  if [ -n "$extra" ]; then
    echo "check_manual: $command: options in the manual that --help does not list:" $extra >&2
    status=1
  fi
done
# A section for a command the tool no longer has is stale too.
for section in $(sed -n 's/^\.SS "chartxml \(.*\)"$/\1/p' "$manual"); do
  if ! printf '%s\n' "$commands" | grep -qx "$section"; then
    echo "check_manual: $manual describes '$section', which '$tool --help' does not list" >&2
    status=1
  fi
done
exit $status
