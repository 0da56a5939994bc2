// The steps of docs/studio.md, performed: a test presses what the guide names, by that name,
// and in the end nothing that the guide names may be left.
'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');

const kGuide = path.join(__dirname, '../../docs/studio.md');

class Guide {
  // What a section's numbered steps have in bold are names of controls.
  constructor(section) {
    const text = fs.readFileSync(kGuide, 'utf8');
    const begin = text.indexOf(`\n## ${section}\n`);
    assert.ok(begin >= 0, `${kGuide} has no section "${section}"`);
    const end = text.indexOf('\n## ', begin + 1);
    this.text = text.slice(begin, end < 0 ? undefined : end).replaceAll(/\s+/g, ' ');
    this.named = new Set([...this.text.matchAll(/\*\*([^*]+)\*\*/g)].map(([, name]) => name));
    assert.ok(this.named.size > 3, `only ${[...this.named]} in "${section}"`);
    this.left = new Set(this.named);
  }

  // The control that the guide names, which a person sees.
  control(page, name) {
    assert.ok(this.named.has(name), `the guide does not name "${name}"`);
    this.left.delete(name);
    return page.locator('button:visible, label:visible, [role=tab]:visible')
        .filter({hasText: new RegExp(`^\\s*${name.replaceAll(/[.()]/g, '\\$&')}\\s*$`)}).first();
  }

  press(page, name) {
    return this.control(page, name).click();
  }

  // A text that the guide quotes.
  quoted(words) {
    assert.ok(this.text.includes(words), `the guide does not say "${words}"`);
    return words;
  }

  finished() {
    assert.deepEqual([...this.left], [], 'the guide names what no step of the test uses');
  }
}

module.exports = {Guide};
