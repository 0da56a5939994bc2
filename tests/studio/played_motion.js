// Motion that is played to a page as the events of a phone's sensors. Each event carries the
// time at which its sample was due, and a late one is caught up on, so that a busy machine
// delays what the page gets and never changes it.
'use strict';

const kStep = 20;  // ms, between samples of a wrist that is held still
const kStill = [0, 0, 9.81, 0, 0, 0];  // m/s² with gravity, deg/s

// "t,ax,..." as rows of numbers.
const rowsOf = (csv) => csv.trim().split('\n').slice(1).map((line) => line.split(',').map(Number));

// A shake of so many seconds and m/s² after a second of rest; another follows.
function shake(seconds, strength = 14) {
  const made = [];
  for (let i = 0; i < 50 * (2 + seconds); ++i) {
    const t = i / 50;
    const moving = t >= 1 && t < 1 + seconds;
    const v = moving ? strength * Math.sin(2 * Math.PI * (t - 1) / seconds) : 0;
    made.push([t, v, 0, 9.81, moving ? 200 * Math.cos(20 * t) : 0, 0, 0]);
  }
  return made;
}

// In the page: `playMotion` plays rows, and promises that the last one was sent.
function startPlayer({step, still}) {
  if (window !== top) return;
  let due = performance.now();
  let rows = [];
  let played = () => {};
  const send = ([ax, ay, az, gx, gy, gz]) => {
    const event = new DeviceMotionEvent('devicemotion', {interval: step,
      accelerationIncludingGravity: {x: ax, y: ay, z: az},
      rotationRate: {alpha: gx, beta: gy, gamma: gz}});
    Object.defineProperty(event, 'timeStamp', {value: due});
    dispatchEvent(event);
  };
  setInterval(() => {
    while (due <= performance.now()) {
      if (rows.length === 0) {
        send(still);
        due += step;
        continue;
      }
      const [[t, ...values], next] = rows;
      send(values);
      due += next ? 1000 * (next[0] - t) : step;
      rows.shift();
      if (!next) played();
    }
  }, step / 2);
  window.playMotion = (recording) => new Promise((done) => {
    rows = recording;
    played = done;
  });
}

class PlayedMotion {
  // From now on, also behind a reload.
  static async on(page) {
    const how = {step: kStep, still: kStill};
    await page.addInitScript(startPlayer, how);
    await page.evaluate(startPlayer, how);
    return new PlayedMotion(page);
  }

  constructor(page) {
    this.page = page;
  }

  // Rows of a recording, in real time, until the studio knows what came of the last one;
  // then the wrist is held still again.
  async play(rows) {
    await this.page.evaluate((recording) => window.playMotion(recording), rows);
    await this.page.waitForFunction(() => live.behind === 0);
  }
}

module.exports = {PlayedMotion, rowsOf, shake};
