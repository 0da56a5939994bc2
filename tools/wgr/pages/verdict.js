// The answer first: what came, what did not, why, what to do, and what would have helped.
'use strict';

const kNoMore = 10;  // of a group, shown at once
const capital = (text) => text.charAt(0).toUpperCase() + text.slice(1);

function copyButton(text) {
  const button = el('button', {type: 'button'}, 'Copy');
  button.addEventListener('click', async () => {
    try {
      await navigator.clipboard.writeText(text);
      button.textContent = 'Copied';
    } catch {
      button.textContent = 'Select the line to copy it';
    }
  });
  return button;
}

function answerBox(v) {
  const p = v.principal;
  const box = el('div', {class: 'answer' + (p === null ? '' : ' fault')},
      el('h2', {id: 'verdict-head'}, v.headline));
  if (p === null) return box;
  box.append(el('p', {}, el('b', {}, capital(p.sure) + ': '),
      p.evidence.replace(/[.]?$/, '.')));
  if (p.do !== '') box.append(el('p', {}, el('b', {}, 'Do: '), p.do + '.'));
  if (p.code !== '') {
    box.append(el('div', {class: 'tools'}, el('pre', {}, el('code', {}, p.code)),
        copyButton(p.code)));
  }
  if (p.effect !== '') box.append(el('p', {}, p.effect));
  return box;
}

// A text whose options, such as --wearer, stay on one line.
const unbroken = (text) => text.split(/(--[a-z-]+)/).map((part, i) =>
  i % 2 > 0 ? el('span', {class: 'unbroken'}, part) : part);

function tile(name, figure, ...more) {
  return el('div', {class: 'tile'}, el('p', {}, name), el('p', {class: 'figure'}, figure),
      ...more.map((text) => el('p', {}, ...unbroken(text))));
}

function tiles(v) {
  const all = el('div', {class: 'tiles'});
  if (v.expected > 0) {
    all.append(tile('Recognised / expected', `${v.recognised} / ${v.expected}`),
        tile('Reported, not expected', String(v.unexpected)));
  } else {
    all.append(tile('Reported', String(v.reported)));
  }
  const findings = v.stream.length;
  all.append(tile('Stream', findings === 0 ? 'nothing found' :
    findings === 1 ? '1 finding' : `${findings} findings`,
  ...v.stream.map((f) => `${f.id} (${f.sure})`)), tile('Worn on the wrist',
      ['left', 'right', 'undecided'][v.wrist.worn], v.wrist.text));
  return all;
}

// ---- what would have helped ------------------------------------------------------------

function trialItem(v, trial) {
  const count = v.expected > 0 ? trial.recognised : trial.reported;
  const most = v.expected > 0 ? v.expected :
    Math.max(...v.trials.map((t) => t.reported), 1);
  const share = el('i');
  share.style.width = `${100 * count / most}%`;
  const text = v.expected > 0 ?
    `${count} of ${v.expected}, ${trial.unexpected} not expected` : `${count} reported`;
  return el('li', {class: trial.gain > 0 ? 'helps' : 'none'},
      el('span', {}, ...unbroken(trial.change)),
      el('span', {class: 'bar', 'aria-hidden': 'true'}, share),
      el('span', {class: 'count'}, text));
}

// Where all gestures were recognised there is nothing to help: one line, to be opened.
function triedBox(v) {
  if (v.expected > 0 && v.principal === null) {
    const all = el('details', {}, el('summary', {},
        `No change was needed; ${v.trials.length - 1} changes were tried`));
    all.append(el('ol', {class: 'tried'}, ...v.trials.map((t) => trialItem(v, t))));
    return all;
  }
  const box = el('section', {'aria-labelledby': 'tried-head'},
      el('h3', {id: 'tried-head'}, capital(v.trials_heading)));
  if (v.principal !== null && !v.principal.tried && v.principal.do !== '') {
    box.append(el('p', {class: 'note'},
        `What no recording can show comes first: ${v.principal.do}.`));
  }
  const lines = v.trials.filter((t) => t.line !== null).sort((a, b) => a.line - b.line);
  box.append(el('ol', {class: 'tried'}, ...lines.map((t) => trialItem(v, t))));
  const rest = v.trials.filter((t) => t.line === null);
  if (rest.length > 0) {
    const more = el('details', {}, el('summary', {}, `${rest.length} more were tried`));
    more.addEventListener('toggle', () => {
      if (more.childElementCount > 1) return;
      more.append(el('ol', {class: 'tried'}, ...rest.map((t) => trialItem(v, t))));
    });
    box.append(more);
  }
  return box;
}

// ---- missed, and not expected ----------------------------------------------------------

function momentItem(text, motion, openMotion) {
  const item = el('li', {}, el('span', {class: 'when'}, text));
  if (motion !== null) {
    const button = el('button', {type: 'button'}, `Motion ${motion}`);
    button.addEventListener('click', () => openMotion(motion - 1));
    item.append(button);
  }
  return item;
}

// `moments` are [text, number of the motion or null].
function groupBox(group, moments, hint, openMotion) {
  const margin = group.median_decision_margin;
  const title = `class ${group.class}: ${group.count}` +
      (margin === null ? '' : `, median decision margin ${margin.toFixed(4)}`);
  const list = el('ul');
  const box = el('details', {class: 'card group'}, el('summary', {},
      el('strong', {}, title), el('span', {class: 'chip'}, group.cause)));
  const add = (from, to) => list.append(...moments.slice(from, to)
      .map(([text, motion]) => momentItem(text, motion, openMotion)));
  box.addEventListener('toggle', () => {
    if (!box.open || box.childElementCount > 1) return;
    if (hint !== '') box.append(el('p', {}, hint));
    add(0, kNoMore);
    box.append(list);
    if (moments.length <= kNoMore) return;
    const more = el('button', {type: 'button'}, `${moments.length - kNoMore} more`);
    more.addEventListener('click', () => {
      more.remove();
      add(kNoMore, moments.length);
    });
    box.append(more);
  });
  return box;
}

function groupsBoxes(e, v, openMotion) {
  const boxes = [];
  if (v.missed_groups.length > 0) {
    boxes.push(el('h3', {}, `Missed: ${v.expected - v.recognised}`));
  }
  for (const group of v.missed_groups) {
    const all = group.expected.map((i) => e.expected[i - 1]);
    boxes.push(groupBox(group, all.map((x) =>
      [`${seconds(x.begin)} to ${seconds(x.end)}`, x.motion]),
    all[0].sentence + (group.do === '' ? '' : ` Do: ${group.do}.`), openMotion));
  }
  if (v.unexpected_groups.length > 0) {
    boxes.push(el('h3', {}, `Reported, but not expected: ${v.unexpected}`));
  }
  for (const group of v.unexpected_groups) {
    const moments = group.motions.map((i) => {
      const m = e.motions[i - 1];
      return [`${seconds(m.begin)} to ${seconds(m.end)}`, i];
    });
    boxes.push(groupBox(group, moments, '', openMotion));
  }
  return boxes;
}

function showVerdict(e, openMotion) {
  const v = e.verdict;
  const box = $('#verdict');
  box.append(answerBox(v), tiles(v));
  if (v.trials.length > 1) box.append(triedBox(v));
  box.append(...groupsBoxes(e, v, openMotion));
}
