// The same recording as other devices and apps would have written it.
#pragma once

#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "diagnosis/agreement.h"
#include "recording/recording.h"

namespace wgr {

inline constexpr double kLogGravity = 9.80665;                        // m/s²
inline constexpr std::int64_t kLogEpoch = 1'700'000'000'123'456'789;  // ns

struct ForeignLog {
  std::string device;
  std::vector<std::string> names;
  std::vector<std::string> files;
  std::string profile;  // that is guessed
  double tolerance;     // of accelerations, m/s², and in tenths of deg/s
};

using Recorded = std::vector<RecordedSample>;
using Line = std::function<std::string(const RecordedSample&)>;

inline std::string table_of(const std::string& header, const Recorded& samples,
                            const Line& line, const std::string& end = "\n") {
  std::string text = header.empty() ? "" : header + end;
  for (const RecordedSample& sample : samples) text += line(sample) + end;
  return text;
}

inline std::string three(const Point3Df& p, double factor, const char* pattern = "{:.9g}",
                         const std::string& separator = ",") {
  std::string text;
  for (const double value : {p.x, p.y, p.z}) {
    text += (text.empty() ? "" : separator) +
            fmt::format(fmt::runtime(pattern), factor * value);
  }
  return text;
}

inline constexpr double kRadians = 1.0 / kDegreesPerRadian;

inline std::string nanoseconds(double t) {
  return std::to_string(kLogEpoch + std::llround(t * 1e9));
}

inline ForeignLog android_log(const Recorded& samples) {
  return {"android",
          {"watch.csv"},
          {"\xEF\xBB\xBF" + table_of(
                                "timestamp,accel_x,accel_y,accel_z,gyro_x,gyro_y,gyro_z",
                                samples,
                                [](const RecordedSample& s) {
                                  return nanoseconds(s.t) + "," + three(s.acc, 1.0) +
                                         "," + three(s.gyro, kRadians);
                                },
                                "\r\n")},
          "android",
          1e-6};
}

inline ForeignLog ios_log(const Recorded& samples) {
  return {
      "ios",
      {"phone.csv"},
      {table_of("loggingTime(txt),accelerometerTimestamp_sinceReboot(s),"
                "accelerometerAccelerationX(G),accelerometerAccelerationY(G),"
                "accelerometerAccelerationZ(G),gyroRotationX(rad/s),gyroRotationY(rad/s),"
                "gyroRotationZ(rad/s)",
                samples,
                [](const RecordedSample& s) {
                  return fmt::format("2026-05-01 10:00:00.000 +0200,{:.6f},",
                                     62608.1 + s.t) +
                         three(s.acc, -1.0 / kLogGravity) + "," + three(s.gyro, kRadians);
                })},
      "ios",
      1e-6};
}

// Two files; the gyroscope's clock is half a millisecond late.
inline ForeignLog phyphox_log(const Recorded& samples) {
  const auto table = [&](const std::string& name, const std::string& unit, bool is_gyro) {
    std::string header = "\"Time (s)\"";
    for (const char* const axis : {"x", "y", "z"}) {
      header += ",\"" + name + " " + axis + " (" + unit + ")\"";
    }
    return table_of(header, samples, [is_gyro](const RecordedSample& s) {
      return fmt::format("{:.9E},", s.t + (is_gyro ? 0.0005 : 0.0)) +
             (is_gyro ? three(s.gyro, kRadians, "{:.9E}") : three(s.acc, 1.0, "{:.9E}"));
    });
  };
  return {"phyphox",
          {"Accelerometer.csv", "Gyroscope.csv"},
          {table("Acceleration", "m/s^2", false), table("Gyroscope", "rad/s", true)},
          "phyphox",
          2.0};
}

// The acceleration without gravity and gravity are files of their own.
inline ForeignLog sensor_logger_log(const Recorded& samples, bool ios) {
  const auto table = [&](const std::function<Point3Df(const RecordedSample&)>& value) {
    return table_of("time,seconds_elapsed,z,y,x", samples, [&](const RecordedSample& s) {
      const Point3Df p = value(s);
      return nanoseconds(s.t) + fmt::format(",{:.6f},", 0.14 + s.t) +
             three({p.z, p.y, p.x}, 1.0);
    });
  };
  const double sign = ios ? -1.0 : 1.0;
  const Point3Df down = {0.0, 0.0, 9.8};
  const std::string metadata = std::string("version,platform,standardisation\n3,") +
                               (ios ? "ios" : "android") + ",false\n";
  ForeignLog log = {
      ios ? "sensor-logger-ios" : "sensor-logger",
      {"Metadata.csv", "Accelerometer.csv", "Gravity.csv", "Gyroscope.csv"},
      {metadata, table([&](const RecordedSample& s) { return sign * (s.acc - down); }),
       table([&](const RecordedSample&) { return sign * down; }),
       table([](const RecordedSample& s) { return kRadians * s.gyro; })},
      ios ? "sensor-logger-ios" : "sensor-logger",
      1e-6};
  if (!ios) {
    log.names.push_back("TotalAcceleration.csv");
    log.files.push_back(table([](const RecordedSample& s) { return s.acc; }));
  }
  return log;
}

// Each value with its label, as for a plotter, behind what the board says at its start.
inline ForeignLog labelled_log(const Recorded& samples, const std::string& between) {
  return {"labelled by " + between,
          {"serial.txt"},
          {"IMU found\nstarting: 50 Hz\n" +
           table_of("", samples,
                    [&](const RecordedSample& s) {
                      return fmt::format(
                          "ms:{0}{7}ax:{1:.9g}{7}ay:{2:.9g}{7}az:{3:.9g}{7}gx: "
                          "{4:.9g}{7}gy: {5:.9g}{7}gz: {6:.9g}",
                          std::llround(1000.0 * s.t), s.acc.x / kLogGravity,
                          s.acc.y / kLogGravity, s.acc.z / kLogGravity, s.gyro.x,
                          s.gyro.y, s.gyro.z, between);
                    })},
          "arduino",
          1e-6};
}

// Without titles, with tabs.
inline ForeignLog arduino_log(const Recorded& samples) {
  return {"arduino",
          {"board.txt"},
          {table_of("", samples,
                    [](const RecordedSample& s) {
                      return fmt::format("{}\t", 5000 + std::llround(1000.0 * s.t)) +
                             three(s.acc, 1.0 / kLogGravity, "{:.4f}", "\t") + "\t" +
                             three(s.gyro, 1.0, "{:.3f}", "\t");
                    })},
          "arduino",
          0.002};
}

// Counts of the sensor.
inline ForeignLog raw_log(const Recorded& samples) {
  return {"imu",
          {"raw.csv"},
          {table_of("ms,ax,ay,az,gx,gy,gz", samples,
                    [](const RecordedSample& s) {
                      return fmt::format("{},", std::llround(1000.0 * s.t)) +
                             three(s.acc, 16384.0 / kLogGravity, "{:.0f}") + "," +
                             three(s.gyro, 131.0, "{:.0f}");
                    })},
          "imu",
          0.01};
}

// Decimal commas, and titles that only their units explain.
inline ForeignLog german_log(const Recorded& samples) {
  std::string text = table_of(
      "Zeit (s);Beschleunigung x (m/s^2);Beschleunigung y (m/s^2);Beschleunigung z "
      "(m/s^2);Gyroskop x (rad/s);Gyroskop y (rad/s);Gyroskop z (rad/s)",
      samples, [](const RecordedSample& s) {
        std::string line = fmt::format("{:.3f};", s.t) +
                           three(s.acc, 1.0, "{:.9g}", ";") + ";" +
                           three(s.gyro, kRadians, "{:.9g}", ";");
        for (char& c : line) c = c == '.' ? ',' : c;
        return line;
      });
  return {"german", {"Rohdaten.csv"}, {text}, "phyphox", 1e-6};
}

// Rows of one sensor each, the gyroscope's a little later; without titles on demand.
inline ForeignLog rows_log(const Recorded& samples, bool titled) {
  return {titled ? "rows" : "rows without titles",
          {"rows.csv"},
          {table_of(titled ? "sensor,timestamp,x,y,z" : "", samples,
                    [](const RecordedSample& s) {
                      const auto us = std::llround(1e6 * s.t) + 1'000'000;
                      return fmt::format("ACC,{},", us) + three(s.acc, 1.0) +
                             fmt::format("\nMAG,{},20,30,-40\nGYR,{},", us + 100,
                                         us + 300) +
                             three(s.gyro, kRadians);
                    })},
          "imu",
          2.0};
}

// A watch whose acceleration and gravity are columns, in g and turned.
inline ForeignLog wrist_log(const Recorded& samples) {
  const Point3Df down = {0.0, 0.0, 9.8};
  return {
      "wrist",
      {"WristMotion.csv"},
      {table_of("time,seconds_elapsed,rotationRateX,rotationRateY,rotationRateZ,gravityX,"
                "gravityY,gravityZ,accelerationX,accelerationY,accelerationZ",
                samples,
                [&](const RecordedSample& s) {
                  return nanoseconds(s.t) + fmt::format(",{:.6f},", s.t) +
                         three(s.gyro, kRadians) + "," + three(down, -1.0 / kLogGravity) +
                         "," + three(s.acc - down, -1.0 / kLogGravity);
                })},
      "sensor-logger-ios",
      1e-6};
}

inline std::vector<ForeignLog> foreign_logs(const Recorded& samples) {
  return {android_log(samples),
          ios_log(samples),
          phyphox_log(samples),
          sensor_logger_log(samples, false),
          sensor_logger_log(samples, true),
          arduino_log(samples),
          labelled_log(samples, " "),
          labelled_log(samples, ","),
          raw_log(samples),
          german_log(samples),
          rows_log(samples, true),
          rows_log(samples, false),
          wrist_log(samples)};
}

}  // namespace wgr
