// A line a recording, the ones that need a look first; each leads to its own page.
'use strict';

// A fault counts where nothing was expected, too.
const missing = (r) => r.verdict === null ? Infinity :
  r.verdict.expected - r.verdict.recognised + r.verdict.unexpected +
      (r.verdict.principal === null ? 0 : 0.5);

function recordingItem(r) {
  const name = r.page === null ? el('strong', {}, r.file) : el('a', {href: r.page}, r.file);
  const v = r.verdict;
  const item = el('li', {class: 'card'}, name,
      el('p', {}, v === null ? r.error : v.headline));
  if (v !== null && v.principal !== null) {
    const p = v.principal;
    item.append(el('p', {}, el('span', {class: 'chip'}, p.cause), ` ${p.sure}`));
  }
  return item;
}

start((data) => {
  const all = data.recordings;
  document.title = 'Recordings explained';
  $('#title').textContent = data.folder;
  const sound = all.filter((r) => r.verdict !== null && r.verdict.principal === null).length;
  $('#facts').textContent = `${all.length === 1 ? '1 recording' : all.length + ' recordings'}` +
      `, ${sound} of them with nothing to be looked at.`;
  const order = all.map((r, i) => [r, i]).sort((a, b) =>
    missing(a[0]) === missing(b[0]) ? a[1] - b[1] : missing(b[0]) > missing(a[0]) ? 1 : -1);
  showOrigin(data.origin);
  $('#recordings').append(...order.map(([r]) => recordingItem(r)));
});
