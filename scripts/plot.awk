# From the table of scripts/benchmark on its input to a picture of the ratios, in SVG: a bar for each row
# that has an expression, on a logarithmic scale, to the left of the line where it takes less time than
# what it stands beside.

function escape(text) {
  gsub(/&/, "\\&amp;", text); gsub(/</, "\\&lt;", text); gsub(/>/, "\\&gt;", text)
  gsub(/`/, "", text)
  return text
}
function x(ratio) { return zero + scale * log(ratio) / log(10) }
function label(at, y, anchor, text) {
  printf "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\">%s</text>\n", at, y, anchor, escape(text)
}

BEGIN { zero = 640; scale = 170; height = 15 }

/^\| [A-Za-z].*`/ {
  gsub(/\\\|/, "\001")
  split($0, cell, / *\| */)
  gsub(/\001/, "|", cell[3])
  sub(/^headers, /, "", cell[3])
  group = cell[2] " beside " cell[4]
  if (!(group in rows)) order[++groups] = group
  name[group, ++rows[group]] = cell[3]
  ratio[group, rows[group]] = cell[7]
  ++all
}

END {
  total = (all + 2 * groups) * height + 40
  printf "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 860 %d\" font-family=\"sans-serif\" font-size=\"11\">\n", total
  print "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>"
  for (power = -2; power <= 1; ++power) {
    printf "<line x1=\"%.1f\" x2=\"%.1f\" y1=\"20\" y2=\"%d\" stroke=\"%s\"/>\n", \
      x(10 ^ power), x(10 ^ power), total - 10, power == 0 ? "black" : "#ddd"
    label(x(10 ^ power), 14, "middle", power == 0 ? "the same time" : 10 ^ power " of it")
  }
  y = 20
  for (g = 1; g <= groups; ++g) {
    y += 1.6 * height
    printf "<g font-weight=\"bold\">"
    label(10, y, "start", order[g])
    print "</g>"
    for (i = 1; i <= rows[order[g]]; ++i) {
      y += height
      r = ratio[order[g], i]
      left = r < 1 ? x(r) : x(1)
      printf "<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%d\" fill=\"%s\"/>\n", \
        left, y - height + 4, (r < 1 ? 1 : -1) * (x(1) - x(r)), height - 4, r <= 1 ? "#3a7" : "#c63"
      label(20, y, "start", name[order[g], i])
      label(r < 1 ? x(1) + 6 : x(r) + 6, y, "start", r)
    }
  }
  print "</svg>"
}
