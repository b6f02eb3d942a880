// SPDX-License-Identifier: BSL-1.0
// Where the groups of an expression are, for their colours. This is a guess by the notation, and is
// shown only where it has as many groups as the library has counted.

/** Gives [{ begin, end, group }], the groups from their opening to behind their closing. */
export function groupsOf(expression, options) {
  const has = (name) => options.includes(name);
  if (has("literal")) return [];
  const perl = ["escape-in-lists", "char-classes", "intervals", "bk-refs", "no-collate"].every(has) &&
    !["limited-ops", "bk-braces", "bk-parens", "bk-plus-qm", "bk-vbar"].some(has);
  const escaped = has("bk-parens");
  const found = [];
  const open = [];
  let count = 0;
  for (let i = 0; i < expression.length; ++i) {
    const c = expression[i];
    if (c === "[") {
      i = endOfList(expression, i, has("escape-in-lists"));
      continue;
    }
    const backslash = c === "\\";
    if (backslash && perl && expression[i + 1] === "Q") {
      const end = expression.indexOf("\\E", i);
      if (end < 0) break;
      i = end + 1;
      continue;
    }
    const sign = backslash ? expression[i + 1] : c;
    const begin = i;
    if (backslash) ++i;
    if (backslash !== escaped) continue;
    if (sign === "(") {
      let marked = true;
      if (perl && expression[i + 1] === "#") {
        const end = expression.indexOf(")", i);
        if (end < 0) break;
        i = end;
        continue;
      }
      if (perl && (expression[i + 1] === "?" || expression[i + 1] === "*")) {
        marked = /^\?(<[^=!]|'|P<)/.test(expression.slice(i + 1, i + 4));
      }
      open.push({ begin, group: marked ? ++count : 0 });
    } else if (sign === ")" && open.length > 0) {
      const { begin: from, group } = open.pop();
      if (group > 0) found.push({ begin: from, end: i + 1, group });
    }
  }
  return found.sort((a, b) => a.group - b.group);
}

function endOfList(expression, at, escapes) {
  let i = at + 1;
  if (expression[i] === "^") ++i;
  if (expression[i] === "]") ++i;
  for (; i < expression.length && expression[i] !== "]"; ++i) {
    if (escapes && expression[i] === "\\") ++i;
    else if (expression[i] === "[" && ":.=".includes(expression[i + 1] || " ")) {
      const end = expression.indexOf(expression[i + 1] + "]", i + 2);
      if (end >= 0) i = end + 1;
    }
  }
  return i;
}

/** The class that gives a group its colour, here and in the text. */
export const colorOf = (group) => `g${group % 6}`;
