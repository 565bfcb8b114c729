"use strict";
(() => {
  const list = document.getElementById("files");
  const search = document.getElementById("search");
  const verdict = document.getElementById("verdict");
  const shown = document.getElementById("shown");
  const files = Array.from(list.querySelectorAll("details.file"), (element, place) => ({
    element,
    place,
    text: element.textContent.toLowerCase(),
    columns: Array.from(element.querySelector("summary").children, (cell) => cell.textContent),
  }));

  const counts = new Map();
  for (const { element } of files) {
    const name = element.dataset.verdict;
    counts.set(name, (counts.get(name) || 0) + 1);
  }
  for (const [name, count] of counts) {
    verdict.append(new Option(`${name} (${count})`, name));
  }

  const filter = () => {
    const words = search.value.toLowerCase().split(/\s+/).filter(Boolean);
    let visible = 0;
    for (const { element, text } of files) {
      const fits = (!verdict.value || element.dataset.verdict === verdict.value) &&
        words.every((word) => text.includes(word));
      element.hidden = !fits;
      visible += fits ? 1 : 0;
    }
    shown.textContent = `${visible} of ${files.length} shown`;
  };

  // Verdicts are sorted by gravity, everything else as text.
  const keyOf = (file, column) =>
    column === 1 ? Number(file.element.dataset.gravity) : file.columns[column].toLowerCase();
  const sortBy = (button, column) => {
    const isAscending = button.getAttribute("aria-sort") !== "ascending";
    for (const other of list.querySelectorAll(".head button")) {
      other.removeAttribute("aria-sort");
    }
    button.setAttribute("aria-sort", isAscending ? "ascending" : "descending");
    const compare = (a, b) => {
      const [x, y] = [keyOf(a, column), keyOf(b, column)];
      return x < y ? -1 : x > y ? 1 : a.place - b.place;
    };
    files.sort((a, b) => (isAscending ? compare(a, b) : compare(b, a)));
    list.append(...files.map((file) => file.element));
  };
  Array.from(list.querySelectorAll(".head > *"), (cell, column) => {
    const button = document.createElement("button");
    button.type = "button";
    button.textContent = cell.textContent;
    button.addEventListener("click", () => sortBy(button, column));
    cell.replaceChildren(button);
  });

  document.getElementById("fold").addEventListener("click", (event) => {
    const opens = files.some(({ element }) => !element.hidden && !element.open);
    for (const { element } of files) {
      element.open = opens && !element.hidden;
    }
    event.target.textContent = opens ? "Fold all" : "Unfold all";
  });
  search.addEventListener("input", filter);
  verdict.addEventListener("change", filter);
  document.getElementById("tools").hidden = false;
  filter();
})();
