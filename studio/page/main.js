// Puts the page together: the tabs, and what is behind each.
'use strict';

const kTabs = ['explain', 'live', 'teach'];

function showTab(name) {
  for (const one of kTabs) {
    const tab = $('#tab-' + one);
    tab.setAttribute('aria-selected', String(one === name));
    tab.tabIndex = one === name ? 0 : -1;
    $('#' + one).hidden = one !== name;
  }
  showTrouble('');
}

for (const [i, name] of kTabs.entries()) {
  const tab = $('#tab-' + name);
  tab.addEventListener('click', () => showTab(name));
  tab.addEventListener('keydown', (event) => {
    const step = {ArrowRight: 1, ArrowLeft: -1}[event.key];
    if (step === undefined) return;
    const next = kTabs[(i + step + kTabs.length) % kTabs.length];
    showTab(next);
    $('#tab-' + next).focus();
  });
}

const explainer = new Explain();
const live = new Live();
const teacher = new Teach();
setUpAbout();
engine.ready.then(() => {
  const {dataset} = document.documentElement;
  dataset.ready = dataset.complete = performance.now().toFixed(0);  // ms
}, (error) => showTrouble(error.message));
