#!/usr/bin/env bash
# Writes the chartxml(1) manual from the tool's own --help texts, so that the
# manual and the tool never disagree: run at build time.
#   make-manual.sh TOOL OUTPUT
# The usage lines become the synopsis, the paragraphs the description and the
# "options:" (or "commands:") lines a tagged list, for the tool and for each
# command that `chartxml --help` lists.
set -euo pipefail

if [ $# -ne 2 ]; then
  echo "usage: make-manual.sh TOOL OUTPUT" >&2
  exit 2
fi
tool=$1
output=$2

version=$("$tool" --version)
version=${version#chartxml }
top=$("$tool" --help)
commands=$(printf '%s\n' "$top" | awk '/^commands:/ { on = 1; next } on && /^  [a-z]/ { print $1 } on && /^$/ { exit }')
if [ -z "$commands" ]; then
  echo "make-manual.sh: '$tool --help' lists no commands" >&2
  exit 1
fi

# One help text as roff: MODE "top" puts the usage under SYNOPSIS and the
# rest under DESCRIPTION; "command" keeps them all in the command's section.
to_roff() {
  awk -v mode="$1" '
    function esc(s) {
      gsub(/\\/, "\\e", s)
      gsub(/-/, "\\-", s)
      if (s ~ /^[.'\'']/) s = "\\&" s
      return s
    }
    # "-o, --out FILE": the option words bold, the value italic.
    function tag(option, bold,   n, i, words, out) {
      n = split(option, words, " ")
      out = ""
      for (i = 1; i <= n; i++) {
        if (i > 1) out = out " "
        if (words[i] ~ /^-/) {
          if (words[i] ~ /,$/) out = out "\\fB" esc(substr(words[i], 1, length(words[i]) - 1)) "\\fR,"
          else out = out "\\fB" esc(words[i]) "\\fR"
        } else {
          out = out (bold ? "\\fB" : "\\fI") esc(words[i]) "\\fR"
        }
      }
      return out
    }
    function flush() {
      if (item != "") { print ".TP"; print tag(item, commands); print esc(text) }
      item = ""; text = ""
    }
    state == "" && /^usage: / {
      if (mode == "top") print ".SH SYNOPSIS"
      print ".nf"
      sub(/^usage: /, "")
      indent = 0
      state = "usage"
    }
    state == "usage" {
      if ($0 == "") { print ".fi"; if (mode == "top") print ".SH DESCRIPTION"; state = "text"; next }
      line = $0
      sub(/^ +/, "", line)
      # A wrapped line is indented under its usage; another usage is not.
      if (indent++ && line !~ /^chartxml /) line = "    " line
      print esc(line)
      next
    }
    # A list of commands names them in bold; of options, their values in italics.
    state == "text" && /^(options|commands):$/ { commands = ($0 == "commands:"); state = "list"; next }
    state == "text" {
      if ($0 == "") { para = 0; next }
      if (!para) { print ".PP"; para = 1 }
      print esc($0)
      next
    }
    state == "list" {
      if ($0 == "") { flush(); next }
      if ($0 ~ /^  [^ ]/) {
        flush()
        line = substr($0, 3)
        cut = index(line, "  ")
        if (cut == 0) { item = line; text = "" }
        else {
          item = substr(line, 1, cut - 1)
          text = substr(line, cut)
          sub(/^ +/, "", text)
        }
      } else {
        line = $0
        sub(/^ +/, "", line)
        text = (text == "" ? line : text " " line)
      }
      next
    }
    END {
      if (state == "list") flush()
      else if (state == "usage") print ".fi"
    }'
}

{
  echo ".\\\" Made by docs/make-manual.sh from the --help texts of chartxml $version."
  echo ".TH CHARTXML 1 \"\" \"chartxml $version\" \"User Commands\""
  # Option names and file names read better unhyphenated and left-aligned.
  echo ".nh"
  echo ".ad l"
  echo ".SH NAME"
  echo "chartxml \\- describe charts through the chartxml library, check and draw them"
  printf '%s\n' "$top" | to_roff top
  echo ".SH COMMANDS"
  for command in $commands; do
    echo ".SS \"chartxml $command\""
    "$tool" "$command" --help | to_roff command
  done
  cat <<'ROFF'
.SH ENVIRONMENT
.TP
.B CHARTXML_STRINGS
the folder of the string tables the library's texts come from (default: the
installed share/chartxml/strings).
.TP
.B CHARTXML_CODEPAGE
the host's code page for texts and for data files without a byte order mark
(default: UTF\-8).
.TP
.B CHARTXML_VALIDATE
1: every chart is checked against the chart schema before it is written, and
refused with each finding reported.
.TP
.B SOURCE_DATE_EPOCH
seconds since 1970: the creation date a PDF carries (without it, none).
.SH FILES
.TP
.I share/chartxml/strings/
the string tables (en, ja).
.TP
.I share/chartxml/schema/chart.xsd
the chart schema.
.SH SEE ALSO
The API reference (make docs) and the headers chartxml/cx.h, chartxml/ChartXml.h,
chartxml/chartxml_host.h and chartxml/render.h.
ROFF
} >"$output.tmp"
mv "$output.tmp" "$output"
