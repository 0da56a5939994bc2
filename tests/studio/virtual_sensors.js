// A phone's sensors in a headless Chromium: samples are played to it, through the DevTools
// protocol, at the times at which they were recorded.
'use strict';

const kTypes = ['accelerometer', 'linear-acceleration', 'gyroscope'];
const kDegree = Math.PI / 180;

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

class VirtualSensors {
  static async on(page) {
    const sensors = new VirtualSensors();
    sensors.session = await page.context().newCDPSession(page);
    for (const type of kTypes) await sensors.have(type, true);
    await sensors.set([0, 0, 9.81, 0, 0, 0]);
    return sensors;
  }

  // Whether the phone has a sensor.
  async have(type, available) {
    await this.session.send('Emulation.setSensorOverrideEnabled', {enabled: false, type});
    await this.session.send('Emulation.setSensorOverrideEnabled',
        {enabled: true, type, metadata: {available, maximumFrequency: 60}});
  }

  // m/s² with gravity, deg/s.
  async set([ax, ay, az, gx, gy, gz]) {
    const readings = {
      'accelerometer': {x: ax, y: ay, z: az},
      'linear-acceleration': {x: 0, y: 0, z: 0},
      'gyroscope': {x: gx * kDegree, y: gy * kDegree, z: gz * kDegree},
    };
    await Promise.all(kTypes.map((type) => this.session.send(
        'Emulation.setSensorOverrideReadings', {type, reading: {xyz: readings[type]}})));
  }

  // Rows of a recording, in real time; what is late is left out.
  async play(rows) {
    const start = performance.now() - rows[0][0] * 1000;
    for (const [t, ...values] of rows) {
      const wait = start + t * 1000 - performance.now();
      if (wait < -15) continue;
      if (wait > 0) await new Promise((done) => setTimeout(done, wait));
      await this.set(values);
    }
  }
}

module.exports = {VirtualSensors, rowsOf, shake};
