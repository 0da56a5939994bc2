// Draws the report of wgr doctor or wgr log: what was found first, then tables.
'use strict';

const kMostRows = 500;  // of a table, until more are asked for
const kLong = 20;       // characters of a cell that is not to be narrow

function findingItem(finding) {
  const item = el('li', {class: 'card'}, el('p', {}, el('span', {class: 'chip wrong'},
      finding.sure), ' ', el('strong', {}, finding.what)));
  if (finding.remedy) item.append(el('p', {}, 'Do: ' + finding.remedy));
  if (finding.call) item.append(el('pre', {tabindex: 0}, finding.call));
  return item;
}

// A bar as long as its part of the greatest, in the first column behind the head.
function barCell(text, most) {
  const bar = el('span', {class: 'bar', 'aria-hidden': 'true'});
  bar.style.width = `${most > 0 ? 8 * Number(text) / most : 0}rem`;
  return el('td', {class: 'barred'}, text, bar);
}

// Columns that say nothing are left out.
function filledColumns({heads, rows}) {
  const filled = heads.map((_, k) => rows.some((row) => row[k] !== ''));
  const keep = (row) => row.filter((_, k) => filled[k]);
  return {heads: keep(heads), rows: rows.map(keep)};
}

function tableOf({heading, bars, ...columns}) {
  const {heads, rows} = filledColumns(columns);
  const most = bars ? Math.max(...rows.map((row) => Number(row[1]))) : 0;
  const body = el('tbody');
  const table = el('div', {class: 'wide', tabindex: 0, role: 'region', 'aria-label': heading},
      el('table', {class: 'plain'}, el('thead', {}, el('tr', {},
          ...heads.map((head) => el('th', {scope: 'col'}, head)))), body));
  const more = el('button', {type: 'button'});
  let shown = 0;
  const show = () => {
    body.append(...rows.slice(shown, shown + kMostRows).map(([first, ...rest]) => el('tr', {},
        el('th', {scope: 'row'}, first), ...rest.map((text, i) =>
          bars && i === 0 ? barCell(text, most)
            : el('td', text.length > kLong ? {class: 'long'} : {}, text)))));
    shown = Math.min(shown + kMostRows, rows.length);
    more.textContent = `${rows.length - shown} more`;
    more.hidden = shown === rows.length;
  };
  more.addEventListener('click', show);
  show();
  return [table, more];
}

start((data) => {
  document.title = data.title;
  $('#title').textContent = data.title;
  $('#facts').textContent = data.facts.join(' ');
  showOrigin(data.origin);
  const box = el('div', {class: 'answer' + (data.good ? '' : ' fault')},
      el('h2', {}, data.headline));
  $('#answer').append(box, el('ol', {}, ...data.findings.map(findingItem)));
  for (const table of data.tables) {
    const section = el('section', {}, el('h2', {}, table.heading));
    if (table.note) section.append(el('p', {class: 'hint'}, table.note));
    if (table.rows.length === 0) section.append(el('p', {}, 'There is none.'));
    else section.append(...tableOf(table));
    $('#tables').append(section);
  }
});
