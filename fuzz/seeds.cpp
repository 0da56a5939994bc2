// Makes the inputs that the search for others starts from: fuzz/seeds DIRECTORY writes
// DIRECTORY/HARNESS/*, the same bytes each time.
//
// They are cut small from what the project makes itself: models, recordings and gestures
// in their files' formats, tables, logs, command lines, scripts of calls, matrices. Run
// it in the project's root: it reads models/ and recordings/.
#include <zlib.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "classifier/Gmodel.h"
#include "input.h"
#include "support/motions.h"
#include "training/model_output.h"

using namespace wgr;

using Bytes = std::string;

static std::string root;

static void save(const std::string& harness, const std::string& name,
                 const Bytes& content) {
  const std::string directory = root + "/" + harness;
  std::filesystem::create_directories(directory);
  std::ofstream(directory + "/seed-" + name, std::ios::binary) << content;
}

static char as_byte(int value) {
  return static_cast<char>(static_cast<unsigned char>(value));
}

// ---- values, as class Input reads them ----------------------------------------------

static Bytes raw(const void* value, size_t size) {
  return Bytes(static_cast<const char*>(value), size);
}

static Bytes integer(int value) {
  if (value >= kFirstSmallInt - kSmallIntBias && value < kFirstInt - kSmallIntBias) {
    return Bytes(1, as_byte(value + kSmallIntBias));
  }
  return Bytes(1, as_byte(kFirstInt)) + raw(&value, sizeof value);
}

static Bytes number(double value) {
  const double word = value * 256.0;
  if (std::fabs(word) < 32768.0 && word == std::floor(word)) {
    const int bits = static_cast<int>(word);
    return {as_byte(kFirstWord), as_byte(bits & 255), as_byte((bits >> 8) & 255)};
  }
  return Bytes(1, as_byte(kFirstDouble)) + raw(&value, sizeof value);
}

static Bytes single(float value) {
  return Bytes(1, as_byte(kFirstDouble)) + raw(&value, sizeof value);
}

static Bytes point(const Point3Df& p) { return number(p.x) + number(p.y) + number(p.z); }

// ---- model files --------------------------------------------------------------------

static Bytes text_of(const Gmodel& model) {
  const std::string path = root + "/model";
  model.write(path.c_str());
  std::ifstream file(path + ".xml", std::ios::binary);
  const Bytes content{std::istreambuf_iterator<char>(file), {}};
  file.close();
  std::filesystem::remove(path + ".xml");
  return content;
}

// The first templates of a model, every fourth point and the gravity behind them.
static Gmodel cut(Gmodel model, size_t templates) {
  model.templates.resize(std::min(templates, model.templates.size()));
  model.nTemplate = static_cast<int>(model.templates.size());
  for (auto& [label, points] : model.templates) {
    Points kept;
    for (size_t i = 0; i + 1 < points.size(); i += 4) kept.push_back(points[i]);
    if (!points.empty()) kept.push_back(points.back());
    points = kept;
  }
  return model;
}

static void make_models() {
  const char* const names[] = {"olvo_model_5_fb", "olvo_model_5r_ow"};
  for (const char* name : names) {
    Gmodel model;
    model.read(("models/" + std::string(name) + "/hgr_olvo").c_str());
    save("model_file", name, text_of(cut(model, 2)));
    Bytes trace(1, as_byte(255));
    const Points own = cut(model, 1).templates.at(0).second;
    for (const Point3Df& p : own) {
      // In 256ths, which take less room.
      trace += point({std::floor(p.x * 256) / 256, std::floor(p.y * 256) / 256,
                      std::floor(p.z * 256) / 256});
    }
    save("model_file", std::string(name) + "-trace", text_of(cut(model, 3)) + trace);
  }
  save("model_file", "plain", text_of(small_model(3, -1.0)));
  save("model_file", "scaled", text_of(small_model(3, -1.0, 1, 0)));
  save("model_file", "empty", text_of(Gmodel()));
  Gmodel many = small_model(3, -1.0);
  many.templates.push_back({4, {}});
  many.templates.push_back({3, {{1, 0, 0}, {-1, 0, 0}, {0, 0, 10}}});
  many.nTemplate = 3;
  many.class_thresholds.clear();
  save("model_file", "ties", text_of(many));
  Gmodel wide = small_model(3, -1.0);
  wide.templates[0].second.assign(440, Point3Df{-1.25e-10, 1, 2});
  save("model_file", "too-long-a-line", text_of(wide));
}

// ---- training files -----------------------------------------------------------------

static Bytes record(int label, const Stream& stream, bool with_gravity) {
  Bytes text = std::to_string(label) + " " + std::to_string(stream.size());
  if (with_gravity) text += " 0.5 0 9.75";
  text += "\n";
  for (double Point3Df::*axis : {&Point3Df::x, &Point3Df::y, &Point3Df::z}) {
    for (const Pair& pair : stream) text += std::to_string(pair.acc.*axis) + " ";
    text += "\n";
  }
  return text;
}

static void make_training() {
  const Bytes with = record(3, gesture(2, 4.5), true) + record(5, rest(2), true);
  const Bytes without = record(3, rest(3), false) + record(4, rest(1), false);
  const Bytes other = Bytes(1, as_byte(255));
  save("training_file", "with-gravity", with);
  save("training_file", "without-gravity", without);
  save("training_file", "alike", with + other + record(7, rest(1), true));
  save("training_file", "unlike", with + other + without);
  save("training_file", "no-last-line-break", with.substr(0, with.size() - 1));
  save("training_file", "cut-off", with.substr(0, with.size() / 2));
  save("training_file", "long-line", "3 2000\n" + Bytes(6000, '1') + "\n2\n3\n");
}

// ---- recordings ---------------------------------------------------------------------

static Bytes packed(const Bytes& content) {
  const std::string path = root + "/packed.gz";
  const gzFile file = gzopen(path.c_str(), "wb9");
  gzwrite(file, content.data(), static_cast<unsigned>(content.size()));
  gzclose(file);
  std::ifstream in(path, std::ios::binary);
  const Bytes bytes{std::istreambuf_iterator<char>(in), {}};
  in.close();
  std::filesystem::remove(path);
  return bytes;
}

static void make_recordings() {
  std::ifstream demo("recordings/demo.csv");
  Bytes text;
  Bytes line;
  for (int i = 0; i < 8 && std::getline(demo, line); ++i) text += line + "\n";
  save("recording_file", "plain", text);
  save("recording_file", "packed", packed(text));
  save("recording_file", "two-members", packed(text) + packed("0.2,1,2,3,4,5,6\n"));
  save("recording_file", "packed-cut-off", packed(text).substr(0, 60));
  save("recording_file", "marked",
       "\xEF\xBB\xBFt,ax,ay,az,gx,gy,gz\r\n0,1,2,3,4,5,6\r\n");
  save("recording_file", "one-sensor", "t,ax,ay,az,gx,gy,gz\n0,1,2,3,,,\n0.02,1,2,3,,,");
  const std::string whole = "t,ax,ay,az,gx,gy,gz\n0,1,2,3,4,5,6\n";
  save("recording_file", "torn-line", whole + "0.02,1,2");
  save("recording_file", "torn-after-a-comma", whole + "0.02,1,2,3,4,5,");
  save("recording_file", "torn-with-zeros", whole + std::string(5000, '\0'));
  save("recording_file", "numbers",
       "t,ax,ay,az,gx,gy,gz\n-0,1e308,-5e-324,.5,1.,1E+2,0e-999\n"
       "1,1e999,0,0,0,0,0\n");
  // 4096 characters, which are read, and one more, which are not.
  const Bytes longest = "t,ax,ay,az,gx,gy,gz\n0,1,2,3,4,5," + Bytes(4084, '0') + "\n";
  save("recording_file", "longest-line", longest + "0.02,1,2,3,4,5,6\n");
  save("recording_file", "too-long-a-line",
       "t,ax,ay,az,gx,gy,gz\n0,1,2,3,4,5," + Bytes(4085, '0') + "\n");
}

// ---- logs of other devices ----------------------------------------------------------

// The bytes before the files choose what is given; see foreign_log.cpp.
static void make_foreign_logs() {
  const Bytes nothing(2, '\0');
  const auto rows = [](const Bytes& header, const Bytes& line) {
    Bytes text = header;
    for (int i = 0; i < 12; ++i) text += std::to_string(20 * i) + line;
    return text;
  };
  const Bytes six = ",0.1,0.2,9.8,0.5,-0.5,1\n";
  const Bytes android =
      rows("timestamp_ms,accel_x,accel_y,accel_z,gyro_x,gyro_y,gyro_z\n", six);
  save("foreign_log", "android", nothing + android);
  save("foreign_log", "no-titles", nothing + rows("", six));
  save("foreign_log", "semicolons",
       nothing + rows("Zeit (ms);a x (m/s^2);a y (m/s^2);a z (m/s^2);r x (rad/s);r y "
                      "(rad/s);r z (rad/s)\r\n",
                      ",5;0,1;0,2;9,8;0,5;-0,5;1\r\n"));
  save("foreign_log", "rows",
       nothing + rows("time,sensor,x,y,z\n", ",ACC,0,0,9.8\n1,GYR,1,2,3\n"));
  save("foreign_log", "files",
       nothing + rows("time,seconds_elapsed,z,y,x\n", ",0.5,9.8,0,0\n") + "\x1e" +
           rows("time,seconds_elapsed,z,y,x\n", ",0.5,3,2,1\n"));
  save("foreign_log", "gravity",
       nothing + rows("time,accelerationX,accelerationY,accelerationZ,gravityX,gravityY,"
                      "gravityZ,rotationRateX,rotationRateY,rotationRateZ\n",
                      ",0,0,0.1,0,0,-1,1,2,3\n"));
  save("foreign_log", "dates",
       nothing +
           "date,ax,ay,az,gx,gy,gz\n2026-05-01T23:59:59.98Z,0,0,1,1,2,3\n"
           "2026-05-02T00:00:00.00Z,0,0,1,1,2,3\n"
           "2026-05-02T00:00:00.02Z,0,0,1,1,2,3\n");
  save("foreign_log", "faults",
       nothing + android +
           "240,x,0,9.8,1,2,3\n260,,,,1,2,3\n1e300,1,1,1e999,1,2,3\n280,0");
  save("foreign_log", "counter",
       Bytes{0, 1} +
           "# of a board\ncount\ta_x\ta_y\ta_z\tg_x\tg_y\tg_z\n"
           "1\t0\t0\t16384\t131\t0\t0\n2\t0\t0\t16380\t131\t0\t0\n");
}

// ---- tables -------------------------------------------------------------------------

// By the first byte, as tables.cpp has them.
enum Table : char { kLabels, kAnnotations, kIndex, kScript, kSlots };

static void save_table(Table kind, const std::string& name, const Bytes& content) {
  save("tables", name, Bytes(1, kind) + content);
}

static void make_tables() {
  const Bytes labels = "file,t_start,t_end,label\n";
  const Bytes annotations = "t_start,t_end,label\n";
  const Bytes index = "file,label,subject,rate_hz\n";
  const Bytes script = "t_start,t_end,what\n";
  const Bytes tricky = "\"b/\xC3\xA4, 1.csv\"";  // a recording of tables.cpp's
  save_table(
      kLabels, "labels",
      labels + "a.csv,1,2.5,0\n./b/c.csv.gz,0.125,0.250,4\n" + tricky + ",1e1,2E1,7\n");
  save_table(kLabels, "words",
             labels + "a.csv,1,2,push\na.csv,3,4,5\na.csv,5,6,-1\n" +
                 "a.csv,7,8,background\na.csv,8,9,1000\n");
  save_table(kLabels, "other-recording", labels + "no.csv,1,2,0\n");
  save_table(
      kLabels, "marked",
      "\xEF\xBB\xBF" + labels.substr(0, labels.size() - 1) + "\r\n\r\na.csv,-1,0,3\r\n");
  save_table(kLabels, "quotes",
             labels + "\"a\"\"\",1,2,\"x\"\"y\"\n\"a.csv,1,2,3\n\"a.csv\",1,2,\"\"\n");
  save_table(kLabels, "empty", "");
  save_table(kLabels, "no-time", labels + "a.csv,2,2,1\n");
  save_table(kLabels, "no-name", labels + ",1,2,1\n");
  Bytes words;
  for (char word = 'a'; word < 'k'; ++word) {
    words += "a.csv,1,2," + Bytes(1, word) + "\n";
  }
  save_table(kLabels, "many-words", labels + words);
  save_table(kAnnotations, "annotations", annotations + "0,1,0\n1,2,1000\n2,3.5,12\n");
  save_table(
      kIndex, "index",
      index + "a.csv,push,ann,50\nb/c.csv.gz,,,\n" + tricky + ",background,bob,99.5\n");
  save_table(kIndex, "notes",
             "file,label,subject,rate_hz,notes\na.csv,6,,1,left wrist\n");
  save_table(kIndex, "twice", index + "a.csv,1,,\nx/../a.csv,2,,\n");
  save_table(kIndex, "rate", index + "a.csv,1,,0.5\n");
  save_table(kScript, "script", script + "0,2,rest\n2,3.2,swing\n5,6,raise\n6,9,walk\n");
  save_table(kScript, "no-rest", script + "0,2,walk\n2,3,twist\n");
  save_table(kScript, "long", script + "0,1e300,rest\n");
  save_table(kSlots, "slots", "slot,input\nolvo_model_5_fb,set.txt\n");
  save_table(kSlots, "quoted",
             "slot,input\n\"a\"\"b\"\"\",\"c,d\"e\"\"\n\"a\"\",b\",c\n");
  const char* const characters[] = {"\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBF",
                                    "\xED\xA0\x80",
                                    "\xC0\x80",
                                    "\xE0\x9F\xBF",
                                    "\xF0\x8F\xBF\xBF",
                                    "\xF4\x90\x80\x80",
                                    "\xE2\x82"};
  for (int i = 0; i < 7; ++i) {
    save_table(kSlots, "utf-8-" + std::to_string(i),
               Bytes("slot,input\na,") + characters[i] + "\n");
  }
  // 4096 characters, which are read, and one more, which are not.
  save_table(kSlots, "longest-line", "slot,input\nx," + Bytes(4094, 'a') + "\n");
  save_table(kSlots, "too-long-a-line", "slot,input\nx," + Bytes(4095, 'a') + "\n");
}

// ---- descriptions -------------------------------------------------------------------

static void make_descriptions() {
  Provenance p;
  p.rate = 50;
  save("descriptions", "least", as_text(to_json(p)));
  p.shortest = 25;
  p.static_window = 12;
  p.strength_threshold = 2.5;
  p.background_seconds = 3600.25;
  p.classes = {{"push", 0}, {"\xC3\xA4", 7}, {"3", 3}};
  p.verdicts = {{"kept", 12}, {"too short", 3}};
  p.inputs = {{"a.csv", Bytes(64, 'a')}};
  p.subjects = {"ann", "ann", "bob", ""};
  const nlohmann::ordered_json json = to_json(p);
  save("descriptions", "whole", as_text(json));
  save("descriptions", "short", json.dump());
  nlohmann::ordered_json of_file = json;
  of_file["training_file_sha256"] = Bytes(64, 'c');
  save("descriptions", "of-file", as_text(of_file));
  BuildReport report;
  report.classes.resize(2);
  report.classes[1].label = 3;
  report.notes = {"a note"};
  BuildOptions options;
  options.most_templates = 6;
  save("descriptions", "manifest", as_text(manifest(report, options, p, Bytes(64, 'b'))));
  nlohmann::ordered_json changed = json;
  using Json = nlohmann::ordered_json;
  changed["subjects"] = Json::array({Json::array({"ann", 40000000})});
  save("descriptions", "many-subjects", changed.dump());
  changed = json;
  changed["samples_per_second"] = 1e300;
  save("descriptions", "huge-number", changed.dump());
  changed["samples_per_second"] = 50.5;
  save("descriptions", "no-whole-number", changed.dump());
  changed = json;
  changed["classes"]["push"] = 4294967296;
  save("descriptions", "huge-label", changed.dump());
  save("descriptions", "array", "[1, 2.5e-3, null, true, \"\\ud83d\\ude00\"]");
  save("descriptions", "nested", Bytes(400, '[') + Bytes(400, ']'));
}

// ---- logs ---------------------------------------------------------------------------

static void make_logs() {
  const Bytes start =
      "WgrContext 36: WgrConstruct start\nAgGes 14: AgGes start\nAgGes 40: /home/app\n"
      "AgGes 50: Load model success!\nAgGes 70: AgGes end\nWHD 623: WHD start\n"
      "WHD 647: pp is NON NULL\nWHD 658: WHD end\nWgrContext 44: WgrConstruct end\n"
      "init_gesture_handle 68: ---init_gesture_handle success\n";
  const Bytes update = "update_gesture 115: update_gesture start\n";
  const Bytes answer = "update_gesture 123: ---gestype---:";
  const Bytes compare =
      "predict 336: nTemplate:4, nclasses:2, normalize:0, havegravity:1\n";
  const Bytes none = update + answer + "14\n";
  const Bytes gesture = update + compare + answer + "3\n";
  const Bytes model =
      "set_gesture_model 81: ---setmode----hand type:1, mode:2, path:/x\n"
      "set_gesture_model 87: ---set_hand_model success\n";
  save("log_file", "host-run",
       start + none + gesture + model + update + compare + answer + "13\n" + update +
           compare + answer + "14\n");
  save("log_file", "restart", none + start + none + start + update + start + none);
  save("log_file", "no-model",
       start.substr(0, start.find("AgGes 50")) +
           "AgGes 60: ERROR: load model failed! Path:/usr/share\n");
  save("log_file", "torn",
       none + "update_gesture 115: upd\nupdate_gesture 12" + none + answer + "x\n" +
           Bytes(5, '\0') + "\n" + update + answer);
  save("log_file", "foreign", "Nov  1 00:00:00 watch kernel: \x1b[31m\r\n\n" + gesture);
  save("log_file", "numbers",
       update + answer + "-2147483648\n" + update + answer + "2147483648\n" + update +
           compare + answer + "6\n");
  save("log_file", "packed", packed(start + none + gesture));
  save("log_file", "packed-long-line",
       packed(none + Bytes(size_t{1} << 19, 'a') + "\n" + none));
  save("log_file", "packed-cut-off", packed(start + gesture).substr(0, 80));
  Bytes hour;
  for (int i = 0; i < 20; ++i) hour += update + answer + std::to_string(i) + "\n";
  save("log_file", "hours", hour);
}

// ---- captures -----------------------------------------------------------------------

// A record with its length in front, as capture_file.cpp takes it; without its check
// byte.
static Bytes record(const Bytes& content) {
  return as_byte(static_cast<int>(content.size())) + content;
}

// One of a kind that has a length, at the time of the one before.
static Bytes timed(int tag, const Bytes& body) {
  const Bytes timed_body = as_byte(0) + body;
  return record(as_byte(tag) + Bytes(1, as_byte(static_cast<int>(timed_body.size()))) +
                timed_body);
}

static Bytes bits(double value) { return raw(&value, sizeof value); }

static void make_captures() {
  const Bytes block = "\x01";         // sealed
  const Bytes end = Bytes(1, '\0');   // of a block
  const Bytes made = Bytes(1, '\0');  // not a file's own bytes
  const Bytes model = timed(0x21, Bytes("\x01\x00\x10\x00", 4) + "1 1 0 1\n4 \n1 -9\n");
  const Bytes create =
      timed(0x30, "\x01\x01") + timed(0x2A, Bytes("\x01\x30\x00\x02", 4));
  const Bytes init = timed(0x31, Bytes("\x01\x64", 2) + bits(0.5) + bits(0.0) +
                                     bits(-1.0) + Bytes("\x01\x01\x01\x14", 4)) +
                     timed(0x2A, Bytes("\x01\x31\x00\x00", 4));
  const Bytes registered =
      timed(0x34, "\x01\x01") + timed(0x2A, Bytes("\x01\x34\x00\x02", 4));
  Bytes steps = "\x01";
  for (int axis = 0; axis < 6; ++axis) steps += as_byte(1 + axis % 4) + bits(4.0);
  const Bytes stepped = record(Bytes("\x02\x01\x02\x01\x02\x50\x00\x01\x02", 9));
  const Bytes again = record(Bytes("\x01\x00\x01\x02\x03\x00\x01\x02", 8));
  const Bytes wide = record(Bytes("\x05\x00", 2) + Bytes(42, '\x11'));
  const Bytes mixed =
      record(Bytes("\x03\x00\x02\x01", 4) + Bytes(7, '\x71') + Bytes(6, '\x02'));
  const Bytes start = made + block + model + create + init + registered;
  save("capture_file", "samples",
       start + timed(0x22, steps) + stepped + again + mixed + wide + end + block +
           stepped + end);
  save("capture_file", "callback",
       start + timed(0x20, "\x01") + timed(0x22, steps) + stepped +
           timed(0x28, "\x01\x0A") + timed(0x39, "\x01" + bits(2.5)) +
           timed(0x38, "\x01" + bits(600.0)) + timed(0x37, "\x01\x02") +
           timed(0x29, Bytes("\x01", 1)) + timed(0x2A, Bytes("\x01\x01\x00\x0A", 4)) +
           timed(0x35, "\x01\x01") + timed(0x2A, Bytes("\x01\x35\x00\x00", 4)));
  save("capture_file", "handle",
       made + block + model +
           timed(0x23, Bytes("\x01\x07\x64", 3) + bits(0) + bits(0) + bits(0) +
                           Bytes("\x01\x01\x01\x14\x04\x01", 6) + bits(1) + bits(2)) +
           stepped + timed(0x33, Bytes("\x01\x02\x02\x01", 4)) +
           timed(0x2A, Bytes("\x01\x33\x00\x00", 4)) + timed(0x32, "\x01\x06"));
  save("capture_file", "others",
       start + timed(0x24, "\x02\x04") + timed(0x3A, "\x02\x04") + timed(0x25, "here") +
           timed(0x27, "\x03") +
           timed(0x36, Bytes("\x01\x00\x04", 3) + bits(1) + bits(2) + bits(9.8)) +
           timed(0x7F, "unknown") + timed(0x26, Bytes("\x01", 1)));
  save("capture_file", "threads",
       start + timed(0x20, "\x01") + timed(0x22, steps) + stepped +
           timed(0x28, "\x01\x0A") + timed(0x20, "\x02") + again + timed(0x20, "\x01") +
           again + timed(0x29, Bytes(1, '\0')));
  save("capture_file", "injection",
       start + timed(0x22, steps) + stepped + timed(0x2B, Bytes("\x01\x00\x02", 3)) +
           again + again + timed(0x2B, Bytes("\x01\x01\x02", 3)) + again +
           timed(0x2B, Bytes("\x01\x00\x05", 3)) + again +
           timed(0x2B, Bytes("\x01\x02\x01", 3)) + again + end);
  save("capture_file", "file", "\x01WGRCAP\r\n" + Bytes("\x01\x00\x00\x10", 4));
}

// ---- command lines ------------------------------------------------------------------

static void make_command_lines() {
  const struct {
    const char* name;
    const char* words;  // a word a line
  } lines[] = {
      {"replay", "replay\n--models\nmodels\n--sample-rate=50\n--json\nx.csv"},
      {"replay-all",
       "replay\n--wearer\n1\n--mode\n2\n--bias=0.4,-0.2,1e1\n"
       "--sensitivity=-12\n--log\nl\n-"},
      {"host-run",
       "replay\n--wearer\n1\n--mode\n2\n--sample-rate\n0100\n"
       "--bias=0.4,-0.2,1e1\n--sensitivity=-12\n--\n--x.csv"},
      {"explain", "explain\n--expect\nx.labels.csv\n-o\np.html\n--no-init\nx.csv"},
      {"synth",
       "synth\n--person\n7\n--gestures\n2\n--distractors\n30.5\n-o\nx.csv\n"
       "--labels\nl.csv\n--style\ncalm\n--from\n1\n--dead-band\n0.5"},
      {"synth-set", "synth\n--training\nset\n--persons\n12\n--style\nmixed\n--seed\n3"},
      {"segment",
       "cut\nset\n--background\nw\n--background\nv\n--sample-rate\n50\n--min-length\n"
       "25\n-o\ns.txt\n--use-annotations"},
      {"build",
       "build\nset\n-o\nm.xml\n--templates\n6\n--tolerance\n0.01\n--share\n"
       "0.33\n--false-cost\n3\n--false-positives-per-hour\n1\n--background-hours\n2.5\n"
       "--threads\n2\n--report\nr.html"},
      {"slots", "build\n--slots\ns.csv\n-o\nmodels\n--model-only\n--judge-by\nsubject"},
      {"eval",
       "eval\nset\n--leave-out\nsubject\n--folds\n10\n--require\n"
       "accuracy=0.95\n--require\nlatency=1\n--json"},
      {"require",
       "accuracy=0.95\nfalse_positives_per_hour=1e1\nclassified_right=nan\nlatency="
       "\nlatency=1x"},
      {"model", "model\ndiff\na.xml\nb.xml"},
      {"model-check", "model\ncheck\na.xml\n--\n-b.xml"},
      {"doctor",
       "doctor\n--seconds\n60\n--sample-rate\n100\n--bias\n1,2,3\n--json\nx.csv"},
      {"preflight", "preflight\n--models\nm\n--json"},
      {"log", "log\n--sample-rate\n50\n--seconds\n86400\n--json\na\nb\nc"},
      {"log-nan", "log\n--sample-rate\nnan"},
      {"log-inf", "log\n--seconds\n1e999\n--sample-rate=0x32"},
      {"selfcheck", "selfcheck\n--record"},
      {"help", "replay\n--help"},
      {"version", "--version"},
      {"capture", "capture\ncut\n--from\n1.5\n--to\n2e3\n--handle\n1\na\n-o\nb"},
      {"unknown", "repaly\nx.csv"},
      {"misplaced", "--sample-rate\n50\nreplay\nx.csv"},
      {"empty", ""},
  };
  for (const auto& line : lines) save("options", line.name, line.words);
}

// ---- scripts of calls ---------------------------------------------------------------

// Steps as interface_calls.cpp numbers them.
enum Step {
  kCreateOrDestroy,
  kInit,
  kSensitivity,
  kModel,
  kRegister,
  kSample,
  kRest,
  kGesture,
  kMotion,
  kRandom,
  kCompact,
  kHand = 12,
  kHandle,
  kInstall,
  kAccelerometer,
  kInitEngine,
  kPreflight
};

static Bytes init(int rate, int motion, int history, int window, int hand) {
  return Bytes(1, kInit) + integer(rate) + point({0.5, -0.25, 1}) + integer(motion) +
         integer(history) + integer(window) + integer(hand);
}

static Bytes gesture_step(int half, double strength) {
  return Bytes{kGesture, as_byte(2 * half)} + number(strength);
}

static Bytes rest_step(int samples) { return {kRest, as_byte(samples)}; }

// A moving stretch of the demo, a byte an axis, as Script::compact_stream() reads it.
static Bytes compact_demo(int first, int samples) {
  std::ifstream demo("recordings/demo.csv");
  Bytes line;
  for (int i = 0; i <= first; ++i) std::getline(demo, line);
  Bytes bytes;
  for (int i = 0; i < samples && std::getline(demo, line); ++i) {
    if (i % 63 == 0) bytes += {kCompact, as_byte(std::min(63, samples - i))};
    size_t at = line.find(',');
    for (int axis = 0; axis < 6; ++axis) {
      const double value = std::stod(line.substr(at + 1));
      const double scaled = axis < 3 ? value * 4.0 : value / 4.0;
      bytes += as_byte(static_cast<int>(std::fmin(127, std::fmax(-128, scaled))));
      at = line.find(',', at + 1);
    }
  }
  return bytes;
}

static void make_calls() {
  const Bytes log_nowhere(1, 0);
  const Bytes log_file(1, 1);
  const Bytes usual = init(50, -1, -1, -1, 50);
  const Bytes one_gesture = rest_step(20) + gesture_step(20, 8.0) + rest_step(15);
  save("interface_calls", "before-init", log_file + one_gesture);
  save("interface_calls", "gesture",
       log_file + Bytes{kRegister, 0} + usual + one_gesture);
  for (int kind = 0; kind < 4; ++kind) {
    save("interface_calls", "callback-" + std::to_string(kind),
         log_nowhere + Bytes{kRegister, as_byte(kind)} + usual + one_gesture +
             one_gesture);
  }
  for (int model = 0; model < 6; ++model) {
    save("interface_calls", "model-" + std::to_string(model),
         log_nowhere + usual +
             Bytes{kModel, 1, as_byte(model / 3), 1, as_byte(model % 3)} + one_gesture);
  }
  save("interface_calls", "short-windows",
       log_nowhere + init(50, 1, 8, 4, 5) + Bytes{kSensitivity} + integer(-3) +
           one_gesture + gesture_step(3, 5));
  save("interface_calls", "no-window",
       log_nowhere + init(4, 2, 30, 0, 0) + one_gesture + init(0, 0, 0, 0, 0) +
           one_gesture + init(-50, 0, 0, 0, -1) + one_gesture);
  save("interface_calls", "history-lowered",
       log_nowhere + usual + rest_step(60) + init(50, 5, 30, 7, 9) + one_gesture +
           init(50, 5, 30, 200, 9) + one_gesture);
  Bytes levels = log_nowhere + usual;
  for (const int level : {1, 2, 3, 0, -10, -49, -50, 2147483647, -2147483647}) {
    levels += Bytes(1, kSensitivity) + integer(level);
  }
  save("interface_calls", "sensitivity", levels + one_gesture);
  save("interface_calls", "two-handles",
       log_file + usual + rest_step(15) + Bytes{kHandle, 1, kCreateOrDestroy} +
           init(100, -1, -1, -1, 20) + one_gesture + Bytes{kHandle, 2} + one_gesture +
           usual + Bytes{kHandle, 0} + one_gesture + Bytes{kCreateOrDestroy});
  save("interface_calls", "installed-models",
       log_nowhere + usual + Bytes{kInstall, 3, 6, kModel, 1, 1, 1, 0} + one_gesture +
           Bytes{kPreflight});
  save("interface_calls", "wearer",
       log_nowhere + usual + Bytes{kHand, as_byte(255)} + point({4, 5, 9}) +
           Bytes{kHand, as_byte(255)} + point({-4, 5, 9}));
  const Bytes acc_gesture = Bytes{kAccelerometer, 0, 0} + number(0.01) +
                            Bytes{kAccelerometer, 0, 40} + number(8.0) +
                            Bytes{kAccelerometer, 0, 40} + number(0.01);
  save("interface_calls", "accelerometer-alone", log_nowhere + acc_gesture + one_gesture);
  for (int mode = 0; mode < 5; ++mode) {
    save("interface_calls", "mode-" + std::to_string(mode),
         log_nowhere + Bytes{kInitEngine, as_byte(mode)} + integer(50) + integer(12) +
             integer(40) + integer(6) + number(0.5) + acc_gesture + one_gesture +
             acc_gesture);
  }
  save("interface_calls", "short-motion",
       log_nowhere + usual + rest_step(12) + Bytes{kMotion, 2} + rest_step(12));
  save("interface_calls", "motion",
       log_nowhere + usual + rest_step(12) + Bytes{kMotion, 30} + rest_step(12));
  save("interface_calls", "random",
       log_nowhere + usual + Bytes{kRandom, 1, 2, 3, 4, as_byte(250), 1} +
           Bytes{kRandom, 5, 6, 7, 8, as_byte(250), 0});
  save("interface_calls", "samples",
       log_nowhere + usual + Bytes{kSample} + point({0, 0, 10}) + point({1, 2, 3}) +
           Bytes{kSample, 2, 3, 4, 5, 6, 7});
  save("interface_calls", "demo", log_nowhere + usual + compact_demo(80, 120));
}

// ---- matrices -----------------------------------------------------------------------

static Bytes parameters(int maxits, int convits, double preference, int dampfact) {
  return Bytes{as_byte(maxits - 1), as_byte(convits - 1)} + number(preference) +
         Bytes(1, as_byte(dampfact));
}

static void make_matrices() {
  for (const int n : {0, 1, 2, 5, 17}) {
    Bytes distances;
    Bytes ties;
    RandomPoints random(static_cast<std::uint64_t>(n) + 1);
    const Points points = random.trace(n, RandomPoints::Kind::kGaussian);
    for (const Point3Df& a : points) {
      for (const Point3Df& b : points) {
        distances += single(static_cast<float>(-squared_length(a - b)));
        ties += as_byte(180 - 8 * random.integer(0, 3));
      }
    }
    const Bytes size(1, as_byte(n));
    const std::string name = std::to_string(n);
    save("clustering", "distances-" + name,
         parameters(20, 5, 1.0, 128) + size + distances);
    save("clustering", "ties-" + name, parameters(9, 3, 0.5, 0) + size + ties);
  }
}

// ---- hand detector ------------------------------------------------------------------

static void make_hands() {
  const Bytes own = Bytes(1, 0) + integer(50) + integer(50);
  const Bytes scales = integer(2) + Bytes(1, 2) + integer(10) + integer(4) + Bytes(1, 2) +
                       number(0) + number(1) + Bytes(1, 2) + number(12) + number(2) +
                       Bytes(1, 2) + number(100) + number(5);
  const Bytes given = Bytes(1, 1) + integer(50) + integer(20) + scales;
  const Bytes swing_acc = Bytes{2, 100} + point({4, 5, 9});
  const Bytes swing_both = Bytes{3, 100} + point({4, 5, 9}) + point({0, 0, -60});
  const Bytes votes =
      Bytes(1, 4) + integer(10) + integer(0) + Bytes(1, 5) + integer(-3) + integer(7);
  save("hand_detector", "own", own + swing_acc + votes);
  save("hand_detector", "own-both", own + swing_both + votes);
  save("hand_detector", "given", given + swing_acc + swing_both + votes);
  save("hand_detector", "mixed", given + swing_both + swing_acc + swing_both + votes);
  save("hand_detector", "init",
       own + swing_acc + Bytes(1, 6) + integer(20) + integer(5) + swing_acc + votes);
  // Thresholds that no change at all exceeds.
  const Bytes passing = Bytes{1} + integer(50) + integer(20) + integer(1) + Bytes{1} +
                        integer(10) + Bytes{1} + number(-1) + Bytes{1} + number(-1) +
                        Bytes{1} + number(-1);
  save("hand_detector", "negative-thresholds", passing + swing_acc + swing_both + votes);
  save("hand_detector", "samples",
       own + Bytes{0} + point({1, 2, 3}) + Bytes{1, 2, 3, 4, 5, 6, 7} + votes);
}

int main(int argc, char** argv) {
  if (argc != 2 || !std::filesystem::exists("models")) {
    std::fputs("usage, in the project's root: seeds DIRECTORY\n", stderr);
    return 2;
  }
  root = argv[1];
  std::filesystem::create_directories(root);
  make_models();
  make_training();
  make_recordings();
  make_foreign_logs();
  make_tables();
  make_descriptions();
  make_logs();
  make_captures();
  make_command_lines();
  make_calls();
  make_matrices();
  make_hands();
  return 0;
}
