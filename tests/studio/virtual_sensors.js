// A phone's sensors in a headless Chromium, set through the DevTools protocol: what comes in
// has gone through the browser's own units, rounding and events.
'use strict';

const kTypes = ['accelerometer', 'linear-acceleration', 'gyroscope'];
const kDegree = Math.PI / 180;

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

  // The machine has its own sensors again: none.
  async end() {
    for (const type of kTypes) {
      await this.session.send('Emulation.setSensorOverrideEnabled', {enabled: false, type});
    }
    await this.session.detach();
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
}

module.exports = {VirtualSensors};
