// The sensors of a phone: permission, units, signs, and what can be wrong with them.
//
// DeviceMotionEvent gives accelerationIncludingGravity in m/s² and rotationRate in deg/s,
// whose alpha, beta and gamma are about x, y and z (Device Orientation and Motion, W3C).
// iOS turns the signs of accelerations: lying face up its z is -9.8.
'use strict';

const kPatience = 2000;      // ms without an event until something is said
const kSamplesOfZeros = 50;  // that say that no sensor is behind them
const kNoGyro = 'This phone reports no angular velocities: it has no gyroscope that the browser ' +
    'reads, and without one no gesture is recognised.';

function signsAreTurned() {
  return /iPhone|iPad|iPod/.test(navigator.userAgent) ||
      (navigator.platform === 'MacIntel' && navigator.maxTouchPoints > 1);
}

class Sensors {
  // `onsample` takes (t in s, [ax, ay, az, gx, gy, gz]); `onproblem` a sentence.
  constructor(onsample, onproblem) {
    this.onsample = onsample;
    this.onproblem = onproblem;
    this.turned = signsAreTurned();
    this.take = (event) => this.read(event);
  }

  // In a tap, for browsers ask for permission only then. Throws an Error for people.
  async start() {
    if (!window.isSecureContext) {
      throw new Error('Browsers let pages use the motion sensors over https only, and this ' +
          'page came over http. Open the file itself, or serve it over https.');
    }
    if (!('DeviceMotionEvent' in window)) {
      throw new Error('This browser does not let pages use motion sensors: open the page ' +
          'in the phone\'s own browser.');
    }
    const {requestPermission} = /** @type {any} */ (DeviceMotionEvent);  // iOS
    if (typeof requestPermission === 'function') {
      const answer = await requestPermission.call(DeviceMotionEvent).catch(() => 'denied');
      if (answer !== 'granted') {
        throw new Error('The browser does not allow this page to use the motion sensors. ' +
            'Allow “Motion & Orientation Access” in its settings for the page, or clear the ' +
            'page\'s data, then reload and start again.');
      }
    }
    this.events = 0;
    this.zeros = 0;
    this.bare = 0;
    this.running = true;
    addEventListener('devicemotion', this.take);
    this.timer = setTimeout(() => {
      if (this.events === 0) {
        this.onproblem('No samples arrive. This device has no motion sensors, or the browser\'s ' +
            'settings block them for this page.');
      }
    }, kPatience);
  }

  stop() {
    this.running = false;
    clearTimeout(this.timer);
    removeEventListener('devicemotion', this.take);
  }

  read(event) {
    const {accelerationIncludingGravity: a, rotationRate: r} = event;
    if (!a || a.x === null || a.y === null || a.z === null) return;
    this.events += 1;
    const sign = this.turned ? -1 : 1;
    const rates = r && r.alpha !== null ? [r.alpha, r.beta, r.gamma] : [0, 0, 0];
    this.bare = r && r.alpha !== null ? 0 : this.bare + 1;
    const values = [sign * a.x, sign * a.y, sign * a.z, ...rates.map((v) => v ?? 0)];
    this.zeros = values.every((v) => v === 0) ? this.zeros + 1 : 0;
    if (this.bare === kSamplesOfZeros) this.onproblem(kNoGyro);
    if (this.zeros === kSamplesOfZeros) {
      this.onproblem('All values are zero: the browser hides the sensors, as some do to ' +
          'protect privacy. Allow motion sensors for this page in its settings.');
    }
    this.onsample(event.timeStamp / 1000, values);
  }
}
