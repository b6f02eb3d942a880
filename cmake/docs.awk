# The public header as Doxygen reads it; lines keep their numbers. The header is written for people who
# read it as it is, by three conventions:
#
# - what stands in front of everything is about the library as a whole;
# - a line of dashes with a title begins a section, and the comment below it is about all of it;
# - the comment of a declaration holds for those that follow it without a comment, up to the next
#   empty line.

# Keeps backslashes from being Doxygen's commands, but for those in code.
function text_of(comment,    parts, i, n, text) {
  n = split(comment, parts, "`")
  for (i = 1; i <= n; ++i) {
    if (i % 2 == 1) gsub(/\\/, "&&", parts[i])
    text = text (i > 1 ? "`" : "") parts[i]
  }
  return text
}

# For a text inside a comment that has an end.
function within(text) {
  gsub(/\*\//, "*\\&#47;", text)
  return text
}

/^\/\/ SPDX-License-Identifier/ { print ""; next }
/^#ifndef/ { body = 1 }

!body && /^\/\// {
  sub(/^\/\/ ? ?/, "")
  if (!titled++) $0 = "@page header What holds everywhere\n///\n/// " $0
  print "/// " (/^ [^ ]|^  / ? "   " : "") text_of($0)
  next
}

/^  \/\/ -+ / {
  sub(/^  \/\/ -+ /, "")
  print "  " (section ? "/** @} */ " : "") "/** @name " toupper(substr($0, 1, 1)) substr($0, 2)
  section = heading = 1
  next
}
heading && /^  \/\// { sub(/\/\//, " "); print within(text_of($0)); next }
heading { print "  @{ */"; heading = 0; next }
/^ private:/ && section { print "/** @} */" $0; next }

/^ *$/ { comment = "" }
/^  \/\/\// {
  if (!fresh) comment = ""
  fresh = 1
  $0 = text_of($0)
  text = $0
  sub(/^  \/\/\/ ?/, "", text)
  comment = comment (text == "" ? "<p>" : within(text) " ")
  print
  next
}
# A declaration begins at two blanks with a letter.
/^  [[:alpha:]~]/ && !/^  (enum|struct) / {
  if (!fresh && comment != "" && !/\/\/\/</) $0 = "  /** " comment "*/" $0
}
{
  fresh = 0
  if (match($0, /\/\/\/.*/)) {
    $0 = substr($0, 1, RSTART - 1) text_of(substr($0, RSTART))
  }
  print
}
