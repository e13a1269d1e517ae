# manual.awk: turns selvane.h into the manual page selvane(3).
#
#     awk -v version=0.1.0 -f manual.awk selvane.h >selvane.3
#
# The comment at the top becomes the description. A line "/* ---- Title ---- */" begins a section. Every other comment at
# the left edge belongs to the declarations below it, up to the next empty line: the page shows the declarations first.
# In comments, four more blanks make a line of code, "- " an item, and "@param name" an argument.

function escape(text) {
  gsub(/\\/, "\\e", text)
  gsub(/-/, "\\-", text)
  sub(/^[.']/, "\\\\\\&&", text)
  return text
}

function printText(lines, count,    i, line, code, fresh) {
  code = 0
  fresh = 1 # a paragraph has just begun
  for (i = 1; i <= count; i++) {
    line = lines[i]
    if (code && line !~ /^    /) { print ".EE"; code = fresh = 0 }
    if (line == "") { if (!fresh) print ".PP"; fresh = 1; continue }
    if (line ~ /^    / && (code || fresh)) {
      if (!code) { print ".EX"; code = 1 }
      print escape(line)
      continue
    }
    sub(/^ +/, "", line)
    if (line ~ /^- /) { print ".IP \\(bu 2"; sub(/^- +/, "", line) }
    if (line ~ /^@param /) { sub(/^@param +/, "", line); print ".TP"; print "\\fI" substr(line, 1, index(line, " ") - 1) "\\fP"; sub(/^[^ ]+ +/, "", line) }
    print escape(line)
    fresh = 0
  }
  if (code) print ".EE"
}

function nameOf(code) {
  if (match(code, /\(\*selvane_[a-z0-9_]+\)/)) return substr(code, RSTART + 2, RLENGTH - 3)
  if (match(code, /^typedef (enum|struct) selvane[a-z0-9_]*/)) { sub(/^typedef (enum|struct) /, "", code); match(code, /^[a-z0-9_]+/); return substr(code, 1, RLENGTH) }
  if (match(code, /selvane_[a-z0-9_]+\(/)) return substr(code, RSTART, RLENGTH - 1)
  if (match(code, /SELVANE_[A-Z_]+/)) return substr(code, RSTART, RLENGTH)
  return code
}

function flush(    i) {
  if (codes > 0) {
    print ".SS " nameOf(code[1])
    print ".EX"
    for (i = 1; i <= codes; i++) print escape(code[i])
    print ".EE"
    if (texts > 0) print ".PP"
  }
  printText(text, texts)
  codes = texts = 0
}

function addText(line) {
  sub(/ *\*\/$/, "", line)
  sub(/^( \*|\/\*) ?/, "", line)
  if (texts > 0 || line != "") text[++texts] = line
}

BEGIN {
  print ".\\\" Made from selvane.h."
  print ".nr HY 0" # a name that is cut is hard to search for
  print ".TH SELVANE 3 \"\" \"libselvane " version "\" \"Library Functions\""
  print ".ad l"
  print ".SH NAME"
  print "selvane \\- library that makes pictures of high dynamic range fit for display"
  print ".SH SYNOPSIS"
  print ".EX"
  print "#include <selvane.h>"
  print ""
  print "cc program.c $(pkg\\-config \\-\\-cflags \\-\\-libs selvane)"
  print ".EE"
  print ".SH DESCRIPTION"
}

/^#ifdef __cplusplus/ { foreign = 1 }
/^#endif/ { foreign = 0; next }
foreign { next }
/^#define SELVANE_(H|FUNCTION)/ { next }
/^#define SELVANE_[A-Z]/ { code[++codes] = $0; next }
/^#/ { next }

/^\/\* ---- / { flush(); sub(/^\/\* -+ /, ""); sub(/ -+ \*\/$/, ""); print ".SH " toupper($0); next }
/^\/\*/ { flush(); comment = 1 }
comment { addText($0); if (/\*\/$/) comment = 0; next }
/^$/ { flush(); next }
{
  if (sub(/^SELVANE_FUNCTION /, "")) indented = 1 # the further lines of the function move to the left by as much
  else if (indented) sub(/^                 /, "")
  if (/;$/) indented = 0
  code[++codes] = $0
}

END {
  flush()
  print ".SH FILES"
  print ".TP"
  print "share/selvane/presets/*.toml"
  print "The presets of the library, to copy and to change. The library has its own copies inside."
  print ".TP"
  print "~/.config/selvane/presets/*.toml"
  print "The user\\(aqs own presets."
  print ".SH ENVIRONMENT"
  print ".TP"
  print "XDG_CONFIG_HOME, HOME"
  print "Where the user's own presets lie, see selvane_preset."
  print ".SH SEE ALSO"
  print ".BR selvane (1)"
}
