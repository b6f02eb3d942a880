# A page in Markdown as Doxygen reads it, with its front page made of the README. A heading gets the
# anchor that it has where the repository is shown, with the name of its page in front, since Doxygen
# has one set of anchors for all pages; links to pages and anchors lead there. With `try` set to the
# address of the page for browsers, the expressions of the tables of examples have a link to it, with
# what else their row has. Bytes are what it counts: run it under LC_ALL=C.

function page_of(file) {
  sub(/.*\//, "", file)
  sub(/\.md$/, "", file)
  return tolower(file)
}

# The anchor of a heading: small letters, digits, and hyphens for blanks.
function anchor_of(text) {
  text = tolower(text)
  gsub(/[^a-z0-9 _-]/, "", text)
  gsub(/ /, "-", text)
  return text
}

# Where a link of this page leads in the site; as it is where that is outside of it.
function target_of(link,    parts) {
  if (link ~ /^[a-z]+:/) return link
  if (link ~ /RegularExpression\.hpp$/) return "@ref RegexClass::RegularExpression"
  if (link ~ /^#/) return "#" page "_" substr(link, 2)
  if (link ~ /\.md(#.*)?$/) {
    split(link, parts, "#")
    return "#" page_of(parts[1]) (parts[2] != "" ? "_" parts[2] : "")
  }
  sub(/.*\//, "", link)
  return link
}

# Plain text with backslashes that aren't Doxygen's.
function plain(text) {
  gsub(/\\[A-Za-z{}()]/, "\\\\&", text)
  return text
}

# Code with nothing in it that means something to Doxygen, which lets an apostrophe end what a grave
# accent begins.
function code(text) {
  gsub(/\\\|/, "|", text)  # as it stands in tables
  gsub(/[\\@$#%|*_`[\]!()]/, "\\\\&", text)
  gsub(/&/, "\\&amp;", text)
  gsub(/"/, "\\&quot;", text)  # Doxygen leaves what is between two as it is
  gsub(/</, "\\&lt;", text)
  gsub(/>/, "\\&gt;", text)
  gsub(/::/, "\\\\::", text)
  gsub(/--+/, "\\\\&", text)
  return "<code>" text "</code>"
}

function without_commands(line,    out, mark, rest, end) {
  while (match(line, /`+/)) {
    mark = substr(line, RSTART, RLENGTH)
    rest = substr(line, RSTART + RLENGTH)
    if (mark == "``" && rest ~ /^([ ,;.)]|$)/) {  # nothing, which is something in a table
      out = out plain(substr(line, 1, RSTART - 1)) "<code>&nbsp;</code>"
      line = rest
      continue
    }
    end = index(rest, mark)
    if (!end) break
    out = out plain(substr(line, 1, RSTART - 1)) code(substr(rest, 1, end - 1))
    line = substr(rest, end + length(mark))
  }
  return out plain(line)
}

# With the links of the site. There is no code in the text of a link.
function with_targets(line,    out, parts, text) {
  while (match(line, /\[[^][]*\]\([^()]*\)/)) {
    text = substr(line, RSTART + 1, RLENGTH - 2)
    out = out substr(line, 1, RSTART - 1)
    line = substr(line, RSTART + RLENGTH)
    split(text, parts, /\]\(/)
    gsub(/`/, "", parts[1])
    gsub(/::/, "\\::", parts[1])
    out = out "[" parts[1] "](" target_of(parts[2]) ")"
  }
  return out line
}

# Text of a table in the fragment of a link.
function encoded(text,    i, c, out) {
  gsub(/\\\|/, "|", text)
  gsub(/⏎/, "\n", text)
  gsub(/␀/, "\001zero", text)
  for (i = 1; i <= length(text); ++i) {
    c = substr(text, i, 1)
    out = out (c ~ /[A-Za-z0-9]/ ? c : sprintf("%%%02X", byte[c]))
  }
  gsub(/%01zero/, "%00", out)
  return out
}

# The name of an option as the command line has it.
function option_of(name,    out) {
  sub(/^Match/, "", name)
  while (match(name, /[A-Z][a-z0-9]*/)) {
    out = out (out == "" ? "" : "-") tolower(substr(name, RSTART, RLENGTH))
    name = substr(name, RSTART + RLENGTH)
  }
  return out
}

# The first code of a cell.
function code_in(cell) {
  if (!match(cell, /`[^`]+`/)) return ""
  return substr(cell, RSTART + 1, RLENGTH - 2)
}

# What else a link has, by the table.
function beside(cells,    first) {
  first = code_in(cells[2])
  if (table == "syntaxes") return "&amp;s=" option_of(substr(first, 1, length(first) - 6))
  if (table == "switches") return "&amp;s=extended&amp;o=" option_of(first)
  if (table == "matches") return "&amp;m=" option_of(first)
  if (table == "unicode") return "&amp;l=unicode"
  if (table == "splits") return "&amp;op=split&amp;del=1&amp;max=" cells[column["maximum"]]
  if (column["format string"]) return "&amp;op=merge&amp;f=" encoded(code_in(cells[column["format string"]]))
  return ""
}

function trial(fragment) { return " <a href=\"" try "#" fragment "\">try</a>" }

# A cell of a table with a link to try each of its expressions.
function with_trials(cell, settings,    before, text, out) {
  while (match(cell, /``|`[^`]+`/)) {
    before = substr(cell, 1, RSTART - 1)
    text = substr(cell, RSTART + 1, RLENGTH - 2)
    cell = substr(cell, RSTART + RLENGTH)
    out = out without_commands(before)
    out = out (text == "" ? without_commands("``") : code(text) trial("e=" encoded(text) settings))
  }
  return out without_commands(cell)
}

# The steps of a cell, as a link has them.
function steps_in(cell,    out, step) {
  while (match(cell, /`[+-][A-Za-z]+`/)) {
    step = substr(cell, RSTART + 1, RLENGTH - 2)
    cell = substr(cell, RSTART + RLENGTH)
    sub(/Syntax$/, "", step)
    out = out (out == "" ? "" : ",") (step ~ /^-/ ? "-" : "") option_of(substr(step, 2))
  }
  return out
}

# A row of a table without texts, with its links.
function with_links(row,    cells, n, i, format, out) {
  while (gsub(/\| \|/, "|  |", row)) continue  # empty cells
  n = split(row, cells, / \| |^\| | \|$/)
  if (table == "formats") {
    format = cells[2]
    gsub(/^`+|`+$/, "", format)
    format = "op=format&amp;e=" encoded("(\\w+)@(\\w+)(!)?") "&amp;t=" encoded("to ann@home now") "&amp;f=" encoded(format)
  }
  for (i = 2; i < n; ++i) {
    out = out "| "
    if (table == "errors" && i > 4) out = out with_trials(cells[i], i == 6 ? "&amp;s=basic" : "")
    else out = out without_commands(cells[i])
    if (table == "formats" && i > 2) out = out trial(format "&amp;ft=" tolower(substr(heads_of[i], 7)))
    if (i == 2 && table ~ /^(names|match)$/) out = out trial((table == "names" ? "o=" : "m=") steps_in(cells[i]))
    out = out " "
  }
  return out "|"
}

# A row of a table with a link to try it behind the expression.
function with_trial(row,    cells, n, i, expression, link, at, out) {
  n = split(row, cells, / \| |^\| | \|$/)
  expression = code_in(cells[column["expression"]])
  at = index(row, "`" expression "`")
  if (expression == "" || !at) return without_commands(row)
  link = "e=" encoded(expression) "&amp;t=" encoded(code_in(cells[column["text"]])) beside(cells)
  # The part in front may hold the same code, never the same cell.
  for (i = 1; i < column["expression"]; ++i) out = out (i == 1 ? "| " : cells[i] " | ")
  at = length(out)
  return without_commands(out) code(expression) trial(link) \
    without_commands(substr(row, at + length(expression) + 3))
}

BEGIN { for (i = 1; i < 256; ++i) byte[sprintf("%c", i)] = i }
FNR == 1 { page = page_of(FILENAME) }
/^```/ { fenced = !fenced; print; next }
!fenced && /^#+ / {
  text = $0
  sub(/^#+ /, "", text)
  print without_commands(with_targets($0)) " {#" (titled++ ? page "_" anchor_of(text) : page) "}"
  if (page == "readme" && text == "What it does") {
    if (try != "") print "\n<a href=\"" try "\">Try it in the browser</a>: the library itself, offline.\n"
    print "\n![What operations take beside the engine's own calls](performance.svg)\n"
  }
  next
}
fenced || /^    / { print; next }
/^<!-- table: / { table = $3; heads = 1 }
/^<!-- end/ { table = "" }
try != "" && table != "" && /^\|/ {
  if (heads) {
    heads = 0
    split("", column)
    n = split($0, names, / \| |^\| | \|$/)
    for (i = 1; i <= n; ++i) {
      column[names[i]] = i
      heads_of[i] = code_in(names[i])
    }
  } else if ($0 !~ /^\|-/ && column["expression"] && column["text"]) {
    print with_trial($0)
    next
  } else if ($0 !~ /^\|-/ && table ~ /^(formats|errors|names|match)$/) {
    print with_links($0)
    next
  }
}
{
  # Code and the text of a link may go on in the next line.
  while ((gsub(/`/, "`") % 2 == 1 || /\[[^][]*$/) && (getline next_line) > 0) $0 = $0 " " next_line
  print without_commands(with_targets($0))
}
