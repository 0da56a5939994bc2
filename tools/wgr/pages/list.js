// A list of thousands of rows, of which only those in sight are in the page.
'use strict';

const kRow = 60;       // pixels, as in the style
const kSpare = 6;      // rows above and below those in sight
const kPrinted = 200;  // rows on paper

// `fill(item)` makes a row's content, `choose(item)` is called for the chosen one.
function makeList(holder, {fill, choose}) {
  const inside = el('div', {class: 'rows', role: 'presentation'});
  holder.append(inside);
  let items = [], chosen = -1;
  const rows = new Map();  // number to row

  const draw = () => {
    const paper = matchMedia('print').matches;
    const from = paper ? 0 : Math.max(Math.floor(holder.scrollTop / kRow) - kSpare, 0);
    const to = Math.min(paper ? kPrinted :
        Math.ceil((holder.scrollTop + holder.clientHeight) / kRow) + kSpare, items.length);
    inside.style.height = paper ? 'auto' : `${Math.max(items.length, 1) * kRow}px`;
    const wanted = new Set();
    for (let i = from; i < to; ++i) wanted.add(i);
    if (chosen >= 0) wanted.add(chosen);  // what is active is always there
    for (const [i, row] of rows) {
      if (!wanted.has(i)) {
        row.remove();
        rows.delete(i);
      }
    }
    for (const i of [...wanted].sort((a, b) => a - b)) {
      if (rows.has(i)) continue;
      const row = el('div', {role: 'option', id: `row-${i}`, class: 'row',
        'aria-posinset': i + 1, 'aria-setsize': items.length, 'aria-selected': i === chosen},
      ...fill(items[i]));
      row.style.top = `${i * kRow}px`;
      row.addEventListener('click', () => choose(items[i]));
      const next = [...rows.keys()].filter((k) => k > i);
      inside.insertBefore(row, next.length > 0 ? rows.get(Math.min(...next)) : null);
      rows.set(i, row);
    }
  };
  const mark = (i) => {
    chosen = i;
    for (const [k, row] of rows) row.setAttribute('aria-selected', String(k === i));
    if (i < 0) holder.removeAttribute('aria-activedescendant');
    else holder.setAttribute('aria-activedescendant', `row-${i}`);
    if (i >= 0) {
      const top = i * kRow;
      if (top < holder.scrollTop) holder.scrollTop = top;
      const bottom = top + kRow - holder.clientHeight;
      if (bottom > holder.scrollTop) holder.scrollTop = bottom;
    }
    draw();
  };
  const clear = () => {
    for (const row of rows.values()) row.remove();
    rows.clear();
  };

  holder.addEventListener('scroll', draw, {passive: true});
  new ResizeObserver(draw).observe(holder);
  matchMedia('print').addEventListener('change', draw);
  holder.addEventListener('keydown', (event) => {
    const page = Math.max(Math.floor(holder.clientHeight / kRow) - 1, 1);
    const steps = {ArrowDown: 1, ArrowUp: -1, PageDown: page, PageUp: -page,
      Home: -Infinity, End: Infinity};
    if (!(event.key in steps) || items.length === 0) return;
    event.preventDefault();
    choose(items[clamp(Math.max(chosen, -1) + steps[event.key], 0, items.length - 1)]);
  });
  return {
    show(all) {
      clear();
      items = all;
      chosen = -1;
      holder.scrollTop = 0;
      holder.removeAttribute('aria-activedescendant');
      draw();
    },
    mark: (same) => mark(items.findIndex(same)),
  };
}
