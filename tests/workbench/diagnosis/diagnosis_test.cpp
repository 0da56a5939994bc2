// The doctor finds what was planted in a sound stream, and nothing in a sound one.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <sstream>

#include "diagnosis/agreement.h"
#include "diagnosis/diagnosis.h"
#include "recording/recording.h"
#include "support/cases.h"
#include "support/files.h"
#include "synthesis/performance.h"
#include "text/finding_text.h"
#include "tools/run_wgr.h"
#include "workbench/diagnosis/sound_recording.h"

using namespace wgr;

using ::testing::HasSubstr;

static std::string ids(const Diagnosis& diagnosis) {
  std::vector<std::string> found;
  for (const Finding& finding : diagnosis.findings) found.push_back(name_of(finding.id));
  std::sort(found.begin(), found.end());
  std::string text;
  for (const std::string& id : found) text += (text.empty() ? "" : " ") + id;
  return text;
}

static std::string listed(const Diagnosis& diagnosis) {
  std::string text;
  for (const Finding& finding : diagnosis.findings) {
    const FindingText said = finding_text(finding);
    text += name_of(finding.id) + (": " + said.what) + " | " + said.remedy + " | " +
            said.call + "\n";
  }
  return text;
}

TEST(Doctor, FindsNothingInSoundStreams) {
  const int people = enough_cases() ? 40 : 4;
  for (int person = 1; person <= people; ++person) {
    const int rates[] = {50, 100, 25, 64};
    const int rate = rates[person % 4];
    const Style style = person % 3 == 0 ? Style::kCalm : Style::kFree;
    const Diagnosis diagnosis = diagnose(repetition(person, rate, person % 2, style), {});
    EXPECT_EQ(listed(diagnosis), "") << "person " << person << " at " << rate;
    ASSERT_TRUE(diagnosis.facts.rate);
    EXPECT_NEAR(*diagnosis.facts.rate, rate, 0.05);
    EXPECT_GT(diagnosis.facts.turns, 1u);
    EXPECT_LT(diagnosis.facts.turn_error, 10.0);
  }
}

// The device's own bias is measured from the stream.
TEST(Doctor, MeasuresTheBiasToATenthOfADegree) {
  for (int person = 1; person <= 10; ++person) {
    const Diagnosis diagnosis = diagnose(repetition(person), {});
    const Point3Df bias = make_person(person, Style::kFree).sensors.gyro_bias;
    ASSERT_TRUE(diagnosis.facts.bias);
    EXPECT_LT(std::sqrt(squared_length(*diagnosis.facts.bias - bias)), 0.35) << person;
  }
}

namespace {

struct Fault {
  const char* name;
  const char* ids;
  std::function<void(Recorded&)> plant;
  const char* says = "";  // in a finding's words
  std::optional<int> given_rate = {};
};

}  // namespace

static std::function<void(Recorded&)> each(std::function<void(RecordedSample&)> change) {
  return [change](Recorded& samples) {
    for (RecordedSample& sample : samples) change(sample);
  };
}

static double limited(double value, double limit) {
  return std::clamp(value, -limit, limit);
}

static Point3Df limited(const Point3Df& p, double limit) {
  return {limited(p.x, limit), limited(p.y, limit), limited(p.z, limit)};
}

static std::function<void(Recorded&)> noise(Point3Df RecordedSample::*sensor,
                                            double deviation) {
  return [=](Recorded& samples) {
    Random random(7);
    for (RecordedSample& s : samples) {
      const double x = random.gaussian();
      const double y = random.gaussian();
      const double z = random.gaussian();
      s.*sensor = s.*sensor + deviation * Point3Df{x, y, z};
    }
  };
}

static std::function<void(Recorded&)> every_second_held(
    Point3Df RecordedSample::*sensor) {
  return [=](Recorded& samples) {
    for (size_t i = 1; i < samples.size(); i += 2) {
      samples[i].*sensor = samples[i - 1].*sensor;
    }
  };
}

static void take_gravity_out(Recorded& samples) {
  const Recorded given = samples;
  for (size_t i = 0; i < samples.size(); ++i) {
    const size_t begin = i < 40 ? 0 : i - 40;
    const size_t end = std::min(i + 40, given.size());
    Point3Df sum = {0.0, 0.0, 0.0};
    for (size_t k = begin; k < end; ++k) sum = sum + given[k].acc;
    samples[i].acc = given[i].acc - sum / static_cast<double>(end - begin);
  }
}

static const std::vector<Fault>& faults() {
  using S = RecordedSample;
  static const std::vector<Fault> all = {
      {"acceleration in g", "acc-unit",
       each([](S& s) { s.acc = (1.0 / 9.80665) * s.acc; }), "it is in g, not in m/s²"},
      {"acceleration in thousandths of g", "acc-unit",
       each([](S& s) { s.acc = (1000.0 / 9.80665) * s.acc; }), "0.00980665"},
      {"rates in rad/s", "gyro-unit",
       each([](S& s) { s.gyro = s.gyro / kDegreesPerRadian; }), "57.29578"},
      {"both units", "acc-unit gyro-unit", each([](S& s) {
         s.acc = s.acc / 9.80665;
         s.gyro = s.gyro / kDegreesPerRadian;
       })},
      {"sensors swapped", "swapped-sensors", each([](S& s) { std::swap(s.acc, s.gyro); }),
       "accelerometer first"},
      {"x and y of the accelerometer swapped", "axes",
       each([](S& s) { std::swap(s.acc.x, s.acc.y); }), "accelerometer as (ay, ax, az)"},
      {"y and z of the gyroscope swapped", "axes",
       each([](S& s) { std::swap(s.gyro.y, s.gyro.z); }), "gyroscope as (gx, gz, gy)"},
      {"z of the accelerometer flipped", "axes", each([](S& s) { s.acc.z = -s.acc.z; }),
       "accelerometer as (ax, ay, -az)"},
      {"x of the gyroscope flipped", "axes", each([](S& s) { s.gyro.x = -s.gyro.x; }),
       "gyroscope as (-gx, gy, gz)"},
      {"the gyroscope the other way round", "axes",
       each([](S& s) { s.gyro = -1.0 * s.gyro; }), "gyroscope as (-gx, -gy, -gz)"},
      {"the accelerometer's axes turned", "axes", each([](S& s) {
         s.acc = {s.acc.y, s.acc.z, s.acc.x};
       }),
       "the accelerometer's as (az, ax, ay)"},
      {"rad/s and a flipped axis", "axes gyro-unit", each([](S& s) {
         s.gyro = s.gyro / kDegreesPerRadian;
         s.gyro.y = -s.gyro.y;
       }),
       "gyroscope as (gx, -gy, gz)"},
      {"stamps in ms", "stamps-unit", each([](S& s) { s.t *= 1000.0; }), "milliseconds"},
      {"stamps in ns", "stamps-unit", each([](S& s) { s.t *= 1e9; }), "nanoseconds"},
      {"stamps that stand still", "stamps", each([](S& s) { s.t = 3.0; })},
      {"a rate that is not so", "rate", [](Recorded&) {}, "is 50.00, not the 100", 100},
      {"jitter", "jitter",
       [](Recorded& samples) {
         Random random(5);
         for (S& s : samples) s.t += random.uniform(-0.008, 0.008);
       }},
      {"a gap", "gap",
       [](Recorded& samples) {
         samples.erase(samples.begin() + 1000, samples.begin() + 1025);
       },
       "1 gaps in the samples, the longest of 0.520 s, the first at 19.980 s"},
      {"a sample twice", "repeated",
       [](Recorded& samples) { samples.insert(samples.begin() + 1000, samples[999]); },
       "1 stamps repeat the one before, the first at 19.980 s"},
      {"two samples in the wrong order", "order",
       [](Recorded& samples) { std::swap(samples[1000], samples[1001]); },
       "1 time stamps are earlier than the one before"},
      {"bias", "bias", each([](S& s) {
         s.gyro = s.gyro + Point3Df{4.0, -3.0, 0.0};
       }),
       "--bias="},
      {"noise of the accelerometer", "acc-noise", noise(&S::acc, 0.22)},
      {"noise of the gyroscope", "gyro-noise", noise(&S::gyro, 4.0)},
      {"clipping of the gyroscope", "gyro-clipping",
       each([](S& s) { s.gyro = limited(s.gyro, 125.0); }), "125.00 deg/s"},
      {"clipping of the accelerometer", "acc-clipping",
       each([](S& s) { s.acc = limited(s.acc, 11.5); }), "1.17 g"},
      {"a rate of zero", "zero-rate",
       [](Recorded& samples) {
         samples[1000].gyro = {0.0, 0.0, 0.0};
       },
       "1 samples have a rate of exactly zero on all axes, the first at 20.000 s"},
      {"a sample of 9999 m/s²", "acc-spike",
       [](Recorded& samples) { samples[1000].acc.y = -9999.0; },
       "larger than any value that the accelerometer can measure: 1 sample, up to "
       "9999.00 m/s², the first at 20.000 s (line 1002)"},
      {"a sample of 9999 deg/s", "gyro-spike",
       [](Recorded& samples) {
         samples[1000].gyro.z = 9999.0;
         samples[1400].gyro.x = -9998.0;
       },
       "larger than any value that the gyroscope can measure: 2 samples, up to "
       "9999.00 deg/s, the first at 20.000 s (line 1002)"},
      {"a spike in another unit, before the clipping that it would hide",
       "acc-clipping acc-spike acc-unit",
       [](Recorded& samples) {
         for (S& s : samples) s.acc = limited(s.acc, 11.5) / 9.80665;
         samples[1000].acc = {9999.0, 9999.0, 9999.0};
       },
       "acc-clipping: "},
      {"gravity below the band", "gravity-band",
       each([](S& s) { s.acc = 0.965 * s.acc; }), "multiply the acceleration"},
      {"gravity above the band", "gravity-band",
       each([](S& s) { s.acc = 1.06 * s.acc; })},
      {"no gravity", "no-gravity", take_gravity_out, "linear acceleration"},
      {"an axis that sticks", "stuck", each([](S& s) { s.gyro.y = 0.25; }),
       "gy never changes"},
      {"a gyroscope at half the rate", "held", every_second_held(&S::gyro),
       "the gyroscope repeats"},
      {"an accelerometer at half the rate", "held", every_second_held(&S::acc),
       "the accelerometer repeats"},
      {"a gyroscope scaled for another range", "turn-scale",
       each([](S& s) { s.gyro = 0.5 * s.gyro; }), "gravity turns 2.00 times as far"},
      {"stamps that go half as fast", "turn-scale", each([](S& s) { s.t *= 0.5; }),
       "gravity turns 2.00 times as far"},
      {"a machine that shakes", "no-rest", each([](S& s) {
         s.acc.x += 3.0 * std::sin(20.0 * s.t);
         s.gyro.x += 40.0 * std::sin(20.0 * s.t);
       })},
  };
  return all;
}

TEST(Doctor, FindsEveryPlantedFaultAndNothingElse) {
  EXPECT_GE(faults().size(), 20u);
  const int people = enough_cases() ? 6 : 1;
  for (int person = 1; person <= people; ++person) {
    const Recorded sound = repetition(person, 50, person % 2);
    for (const Fault& fault : faults()) {
      Recorded samples = sound;
      fault.plant(samples);
      DiagnosisOptions options;
      options.rate = fault.given_rate;
      const Diagnosis diagnosis = diagnose(samples, options);
      EXPECT_EQ(ids(diagnosis), fault.ids) << fault.name << ", person " << person << "\n"
                                           << listed(diagnosis);
      EXPECT_THAT(listed(diagnosis), HasSubstr(fault.says))
          << fault.name << " " << person;
    }
  }
}

// A wrist that walks does not rest for a while.
TEST(Doctor, IsSureThatAWristNeverRestsAfterAMinute) {
  const Recorded sound = repetition(1);
  const auto sureness = [&](double seconds) {
    Recorded samples;
    for (RecordedSample sample : sound) {
      if (sample.t > seconds) break;
      sample.acc.x += 3.0 * std::sin(20.0 * sample.t);
      sample.gyro.x += 40.0 * std::sin(20.0 * sample.t);
      samples.push_back(sample);
    }
    const Diagnosis diagnosis = diagnose(samples, {});
    EXPECT_EQ(ids(diagnosis), "no-rest") << seconds;
    return diagnosis.findings.empty() ? "none"
                                      : sureness_name(diagnosis.findings.front().sure);
  };
  EXPECT_STREQ(sureness(30.0), "possible");
  EXPECT_STREQ(sureness(61.0), "certain");
}

// A hand that turns slowly, now faster and now slower, has no bias; one that turns by
// nearly the same whenever it is quiet has.
TEST(Doctor, SeesABiasWhereQuietMomentsAgree) {
  const auto found = [](double change) {
    Recorded samples;
    for (int i = 0; i < 1000; ++i) {
      const double t = 0.02 * i;
      const double noise = 0.05 * std::sin(31.0 * t);
      samples.push_back(
          {t, {0.0, noise, 9.95}, {10.0 + change * std::sin(0.5 * t), noise, 0.0}});
    }
    return ids(diagnose(samples, {}));
  };
  EXPECT_THAT(found(6.0), Not(HasSubstr("bias")));
  EXPECT_THAT(found(0.5), HasSubstr("bias"));
}

// A bias as long as gravity is no gravity where the gyroscope shows more on the whole.
TEST(Doctor, TakesNoBiasForTheGravityOfSwappedSensors) {
  Recorded samples;
  for (int i = 0; i < 1000; ++i) {
    const double t = 0.02 * i;
    const double noise = 0.05 * std::sin(31.0 * t);
    const double turning = i % 100 < 35 ? 0.0 : 200.0 * std::sin(3.0 * t);
    samples.push_back({t, {noise, 0.01 * turning, 0.1}, {turning, noise, 9.8}});
  }
  EXPECT_THAT(ids(diagnose(samples, {})), Not(HasSubstr("swapped-sensors")));
}

// Without turns of gravity the size of what the gyroscope shows decides, unless it shows
// the same all the time.
TEST(Doctor, SuspectsRadiansOnlyOfAGyroscopeThatMoves) {
  const auto found = [](double turning) {
    Recorded samples;
    for (int i = 0; i < 500; ++i) {
      const double t = 0.02 * i;
      const double swing = i > 50 ? std::sin(6.0 * t) : 0.0;
      samples.push_back({t,
                         {0.0, 4.0 * std::sin(18.0 * t) * swing, 9.95},
                         {0.2, turning * swing, 1.0 + 0.01 * std::sin(31.0 * t)}});
    }
    return ids(diagnose(samples, {}));
  };
  EXPECT_THAT(found(3.0), HasSubstr("gyro-unit"));
  EXPECT_THAT(found(150.0), Not(HasSubstr("gyro-unit")));
  EXPECT_THAT(found(0.01), Not(HasSubstr("gyro-unit")));
}

// Two hours and a half: the last one shows what it shows alone.
TEST(Doctor, FindsWhatIsWrongInTheLastHourAlone) {
  if (slow_here()) GTEST_SKIP() << "slow here: two hours and a half";
  constexpr int kRate = 25;
  constexpr size_t kHour = 3600 * kRate;
  const Recorded once = repetition(1, kRate);
  Recorded sound;
  for (size_t i = 0; i < 5 * kHour / 2; ++i) {
    sound.push_back(once[i % once.size()]);
    sound.back().t = static_cast<double>(i) / kRate;
  }
  EXPECT_EQ(listed(diagnose(sound, {})), "");
  const size_t step = enough_cases() ? 5 : 20;
  size_t found = 0;
  for (size_t f = 0; f < faults().size(); f += step) {
    const Fault& fault = faults()[f];
    // Of stamps and rates the whole stream has one.
    if (std::string(fault.name).find("stamps") == 0 || fault.given_rate) continue;
    Recorded samples = sound;
    const auto last_hour = samples.end() - static_cast<std::ptrdiff_t>(kHour);
    Recorded part(last_hour, samples.end());
    fault.plant(part);
    const std::string alone = ids(diagnose(part, {}));
    found += alone.empty() ? 0 : 1;
    samples.erase(last_hour, samples.end());
    samples.insert(samples.end(), part.begin(), part.end());
    const Diagnosis diagnosis = diagnose(samples, {});
    std::istringstream wanted(alone);
    for (std::string id; wanted >> id;) {
      EXPECT_THAT(ids(diagnosis), HasSubstr(id)) << fault.name;
    }
    EXPECT_EQ(diagnosis.facts.samples, samples.size());
  }
  EXPECT_GE(found, enough_cases() ? 5u : 1u);
}

// Where one part ends and the next begins nothing is lost and nothing is counted twice.
TEST(Doctor, CountsOverAllPartsOnce) {
  constexpr int kRate = 25;
  const size_t length = slow_here() ? 100'000 : 200'000;
  const Recorded once = repetition(1, kRate);
  Recorded samples;
  size_t gaps = 0;
  double t = 0.0;
  for (size_t i = 0; i < length; ++i) {
    samples.push_back(once[i % once.size()]);
    const bool gap = i > 0 && i % 125 == 0;  // parts of 45,750 begin with one
    gaps += gap ? 1 : 0;
    t += gap ? 0.5 : 1.0 / kRate;
    samples.back().t = t;
    if (i % 125 == 3) samples.back().gyro = {0.0, 0.0, 0.0};
  }
  const Diagnosis diagnosis = diagnose(samples, {});
  EXPECT_THAT(listed(diagnosis), HasSubstr("gap: " + std::to_string(gaps) + " gaps"));
  EXPECT_THAT(listed(diagnosis),
              HasSubstr(fmt::format("zero-rate: {} samples", length / 125)));
  EXPECT_NEAR(diagnosis.facts.seconds, t - samples.front().t, 1e-6);
  EXPECT_EQ(diagnosis.facts.samples, samples.size());
  const Point3Df bias = make_person(1, Style::kFree).sensors.gyro_bias;
  ASSERT_TRUE(diagnosis.facts.bias);
  EXPECT_LT(std::sqrt(squared_length(*diagnosis.facts.bias - bias)), 0.35);
  ASSERT_TRUE(diagnosis.facts.gravity);
  EXPECT_NEAR(*diagnosis.facts.gravity, *diagnose(once, {}).facts.gravity, 0.05);
  // A clock that stands still where the first part of 45,750 ends.
  for (size_t i = 0; i < samples.size(); ++i) {
    const size_t ticks = i < 45600 ? i : std::max<size_t>(i, 46200) - 600;
    samples[i].t = static_cast<double>(ticks) / kRate;
  }
  EXPECT_THAT(listed(diagnose(samples, {})), HasSubstr("repeated: 600 stamps"));
}

// A motion that goes on from one part into the next is one motion.
TEST(Doctor, MeasuresAMotionAcrossParts) {
  constexpr int kRate = 25;
  Recorded samples;
  Random random(4);
  for (size_t i = 0; i < 150000; ++i) {
    const double shaken = i >= 40000 && i < 50000 ? (i % 2 == 0 ? 5.0 : -5.0) : 0.0;
    const double noise = 0.02 * random.gaussian();
    const Point3Df acc = {shaken + noise, noise, 10.1};
    const Point3Df gyro = {20.0 * shaken + noise, noise, 0.1};
    samples.push_back({static_cast<double>(i) / kRate, acc, gyro});
  }
  EXPECT_NEAR(diagnose(samples, {}).facts.longest_motion, 10000.0 / kRate, 1.0);
}

// Half of the time still, a quarter pushed without turning, a quarter pushed and turned.
TEST(Doctor, MeasuresHowMuchOfTheTimeEachSensorRests) {
  Recorded samples;
  for (int i = 0; i < 2000; ++i) {
    const double side = i % 2 == 0 ? 5.0 : -5.0;
    const bool pushed = i >= 1000;
    const bool turned = i >= 1500;
    samples.push_back({0.02 * i,
                       {pushed ? side : 0.0, 0.0, 10.1},
                       {turned ? 20.0 * side : 0.0, 0.5, 0.1}});
  }
  const StreamFacts facts = diagnose(samples, {}).facts;
  EXPECT_NEAR(facts.acc_rest_share, 0.5, 0.01);
  EXPECT_NEAR(facts.gyro_rest_share, 0.75, 0.01);
  EXPECT_NEAR(facts.rest_share, 0.75, 0.01);
  EXPECT_NEAR(facts.longest_motion, 10.0, 0.2);
}

TEST(Doctor, ABiasThatIsPassedIsNoFault) {
  Recorded samples = repetition(1);
  for (RecordedSample& s : samples) s.gyro = s.gyro + Point3Df{10.0, 0.0, 0.0};
  DiagnosisOptions options;
  options.gyro_bias = *diagnose(samples, {}).facts.bias;
  EXPECT_EQ(listed(diagnose(samples, options)), "");
  // And the rate that it makes zero is one.
  samples[500].gyro = options.gyro_bias;
  EXPECT_EQ(ids(diagnose(samples, options)), "zero-rate");
}

// Turning what both sensors share is a watch worn another way round, not a fault.
TEST(Doctor, AWatchThatIsTurnedAsAWholeIsSound) {
  Recorded samples = repetition(2);
  for (RecordedSample& s : samples) {
    s.acc = {-s.acc.y, s.acc.x, s.acc.z};
    s.gyro = {-s.gyro.y, s.gyro.x, s.gyro.z};
  }
  EXPECT_EQ(listed(diagnose(samples, {})), "");
}

TEST(Doctor, SaysOfAFewSamplesThatTheyAreTooFew) {
  const Recorded whole = repetition(1);
  for (size_t count : {size_t{0}, size_t{1}, size_t{9}, size_t{10}, size_t{50}}) {
    const Recorded part(whole.begin(),
                        whole.begin() + static_cast<std::ptrdiff_t>(count));
    EXPECT_EQ(ids(diagnose(part, {})), "short") << count;
  }
}

TEST(Doctor, SurvivesStreamsOfNothingAndOfEverything) {
  Recorded nothing(500);
  for (size_t i = 0; i < nothing.size(); ++i) {
    nothing[i] = {0.02 * static_cast<double>(i), {0, 0, 0}, {0, 0, 0}};
  }
  EXPECT_THAT(ids(diagnose(nothing, {})), HasSubstr("stuck"));
  Random random(3);
  Recorded wild(500);
  for (RecordedSample& s : wild) {
    const auto huge = [&] { return random.uniform(-1e300, 1e300); };
    s = {huge(), {huge(), huge(), huge()}, {huge(), huge(), huge()}};
  }
  EXPECT_FALSE(diagnose(wild, {}).findings.empty());
}

// The doctor's findings of each recording of a set; empty where it is not at hand.
static std::vector<Diagnosis> diagnose_set(const std::string& set) {
  const std::string folder = std::string(WGR_ROOT) + "/../shared/data/" + set + "/rec";
  std::vector<Diagnosis> found;
  if (!std::filesystem::is_directory(folder)) return found;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    found.push_back(diagnose(read_recording(entry.path()), {}));
  }
  return found;
}

static size_t count(const std::vector<Diagnosis>& all, const std::string& id) {
  return static_cast<size_t>(
      std::count_if(all.begin(), all.end(), [&](const Diagnosis& diagnosis) {
        return std::any_of(
            diagnosis.findings.begin(), diagnosis.findings.end(),
            [&](const Finding& finding) { return name_of(finding.id) == id; });
      }));
}

// Nobody says of any of these sets that units, axes or sensors are mixed up.
static void expect_nothing_mixed_up(const std::vector<Diagnosis>& all) {
  for (const char* id : {"acc-unit", "gyro-unit", "axes", "swapped-sensors", "turn-scale",
                         "stamps-unit", "stamps", "rate", "absent"}) {
    EXPECT_EQ(count(all, id), 0u) << id;
  }
}

TEST(RealRecordings, WatchesOfWalkersHaveHolesAndHardlyRest) {
  const std::vector<Diagnosis> all = diagnose_set("geotec_watch");
  if (all.empty()) GTEST_SKIP() << "../shared/data/geotec_watch is not at hand";
  expect_nothing_mixed_up(all);
  EXPECT_GT(count(all, "gap"), all.size() * 9 / 10);
  double rest = 0.0;
  for (const Diagnosis& diagnosis : all) {
    rest += diagnosis.facts.rest_share;
    ASSERT_TRUE(diagnosis.facts.rate);
    EXPECT_NEAR(*diagnosis.facts.rate, 100.0, 3.0);
  }
  EXPECT_LT(rest / static_cast<double>(all.size()), 0.15);
}

TEST(RealRecordings, PhonesWithoutGravityAreKnownByIt) {
  const std::vector<Diagnosis> all = diagnose_set("uhh_imu");
  if (all.empty()) GTEST_SKIP() << "../shared/data/uhh_imu is not at hand";
  expect_nothing_mixed_up(all);
  EXPECT_EQ(count(all, "no-gravity"), all.size());
}

TEST(RealRecordings, ClipsOfASecondAreTooShort) {
  for (const char* set : {"wand_nano33", "nano_gestures"}) {
    const std::vector<Diagnosis> all = diagnose_set(set);
    if (all.empty()) GTEST_SKIP() << "../shared/data/" << set << " is not at hand";
    expect_nothing_mixed_up(all);
    EXPECT_EQ(count(all, "short"), all.size());
    EXPECT_EQ(count(all, "no-gravity"), 0u);
    for (const Diagnosis& diagnosis : all) {
      EXPECT_NEAR(*diagnosis.facts.rate, 119.0, 1.0);
    }
  }
}
