#include "fault_commands.h"

#include <filesystem>

#include "run_wgr.h"

const std::vector<FaultCommand>& fault_commands() {
  static const std::vector<FaultCommand> kCommands = {
      {"replay", "replay in/walk.csv", {}, {"in/walk.csv"}, true},
      {"replay_json", "replay --json in/walk.csv", {}, {"in/walk.csv"}, true},
      {"replay_live", "replay -", {}, {}, true, false, "in/walk.csv"},
      {"replay_log",
       "replay --log out/log.txt in/walk.csv",
       {"out/log.txt"},
       {"in/walk.csv"},
       true},
      {"replay_models",
       "replay --models in/models --log out/log.txt in/walk.csv",
       {"out/log.txt"},
       {"in/walk.csv", "in/models/olvo_model_5_fb/hgr_olvo.xml"},
       true},
      {"explain", "explain in/walk.csv", {}, {"in/walk.csv"}, true},
      {"explain_json", "explain --json in/walk.csv", {}, {"in/walk.csv"}, true},
      {"explain_page",
       "explain --expect in/labels.csv -o out/page.html in/walk.csv",
       {"out/page.html"},
       {"in/walk.csv", "in/labels.csv"},
       true},
      {"explain_models",
       "explain --models in/models -o out/page.html --json in/walk.csv",
       {"out/page.html"},
       {"in/walk.csv", "in/models/olvo_model_5_fb/hgr_olvo.xml"},
       true},
      {"doctor", "doctor in/walk.csv", {}, {"in/walk.csv"}, true},
      {"doctor_json", "doctor --json --sample-rate 100 in/walk.csv", {}, {"in/walk.csv"}, true},
      {"preflight", "preflight", {}, {}, true},
      {"preflight_json", "preflight --json --models in/models", {}, {}, true},
      {"log", "log in/WgrLog.txt", {}, {"in/WgrLog.txt"}, true},
      {"log_json", "log --json in/WgrLog.txt", {}, {"in/WgrLog.txt"}, true},
      {"model_show", "model show in/m.xml", {}, {"in/m.xml"}, true},
      {"model_check", "model check in/m.xml", {}, {"in/m.xml"}, true},
      {"model_diff",
       "model diff in/m.xml in/models/olvo_model_5_fb/hgr_olvo.xml",
       {},
       {"in/m.xml"},
       true},
      {"model_same", "model diff in/m.xml in/m.xml", {}, {"in/m.xml"}, true},
      {"selfcheck", "selfcheck", {}, {}, true, true},
      {"help", "--help", {}, {}, true},
      {"help_of_build", "build --help", {}, {}, true},
      {"version", "--version", {}, {}, true},
      {"synth",
       "synth --gestures 1 --distractors 0 -o out/walk.csv",
       {"out/walk.csv"},
       {}},
      {"synth_gzip",
       "synth --gestures 1 --distractors 0 -o out/walk.csv.gz",
       {"out/walk.csv.gz"},
       {}},
      {"synth_three",
       "synth --script in/script.csv -o out/walk.csv --labels out/l.csv --plan out/p.csv",
       {"out/walk.csv", "out/l.csv", "out/p.csv"},
       {"in/script.csv"}},
      {"synth_printed", "synth --gestures 1 --distractors 0 -o -", {}, {}, true},
      {"synth_printed_labels",
       "synth --script in/script.csv -o - --labels out/l.csv",
       {"out/l.csv"},
       {"in/script.csv"},
       true},
      {"synth_labels_printed",
       "synth --script in/script.csv -o out/walk.csv --labels - --plan out/p.csv",
       {"out/walk.csv", "out/p.csv"},
       {"in/script.csv"},
       true},
      {"synth_set",
       "synth --training out/set --persons 2 --gestures 1 --distractors 0 --style calm",
       {"out/set/p001_calm.csv", "out/set/p002_calm.csv", "out/set/labels.csv",
        "out/set/index.csv"},
       {}},
      {"segment",
       "segment in/set -o out/g.txt",
       {"out/g.txt", "out/g.training.json"},
       {"in/set/labels.csv"}},
      {"segment_printed", "segment in/set -o -", {}, {"in/set/labels.csv"}, true},
      {"build",
       "build in/g.txt -o out/m.xml",
       {"out/m.xml", "out/m.model.json", "out/m.report.txt"},
       {"in/g.txt"}},
      {"build_printed", "build in/g.txt -o -", {}, {"in/g.txt"}, true},
      {"build_page_printed",
       "build in/g.txt -o out/m.xml --report -",
       {"out/m.xml", "out/m.model.json", "out/m.report.txt"},
       {"in/g.txt"},
       true},
      {"build_set",
       "build in/set -o out/m.xml",
       {"out/m.xml", "out/m.model.json", "out/m.report.txt"},
       {"in/set/index.csv", "in/set/p001_calm.csv"}},
      {"build_page",
       "build in/g.txt --report out/page.html -o out/m.xml",
       {"out/m.xml", "out/m.model.json", "out/m.report.txt", "out/page.html"},
       {"in/g.txt", "in/g.training.json"}},
      {"build_only",
       "build in/g.txt -o out/m.xml --model-only",
       {"out/m.xml"},
       {"in/g.txt"}},
      {"build_slots",
       "build --slots in/slots.csv -o out/models",
       {"out/models/one/hgr_olvo.xml", "out/models/one/hgr_olvo.model.json",
        "out/models/one/hgr_olvo.report.txt", "out/models/two/hgr_olvo.xml",
        "out/models/two/hgr_olvo.model.json", "out/models/two/hgr_olvo.report.txt"},
       {"in/slots.csv", "in/g.txt"}},
      {"eval", "eval in/set --model in/m.xml", {}, {"in/m.xml"}, true},
      {"eval_page",
       "eval in/set --model in/m.xml --json --report out/page.html",
       {"out/page.html"},
       {"in/m.xml", "in/set/p001_calm.csv"},
       true},
  };
  return kCommands;
}

const std::vector<SameFile>& same_files() {
  static const std::vector<SameFile> kSame = {
      {"build_report", "build in/g.txt -o out/m.xml --report out/m.report.txt"},
      {"build_manifest", "build in/g.txt -o out/m.xml --report out/m.model.json"},
      {"build_model", "build in/g.txt -o out/m.xml --report out/m.xml"},
      {"build_input", "build in/g.txt -o in/g.txt"},
      {"build_input_page", "build in/g.txt -o out/m.xml --report in/g.txt"},
      {"build_description", "build in/g.txt -o in/g.training.json"},
      {"build_set_recording", "build in/set -o in/set/p001_calm.csv"},
      {"build_slots_table", "build --slots in/slots.csv -o out --report in/slots.csv"},
      {"segment_labels", "segment in/set -o in/set/labels.csv"},
      {"segment_index", "segment in/set -o in/set/index.csv"},
      {"segment_recording", "segment in/set -o in/set/p002_calm.csv"},
      {"segment_background", "segment in/set --background in/set2 -o in/set2/walk.csv"},
      {"explain_recording", "explain in/walk.csv -o in/walk.csv"},
      {"explain_other_name", "explain in/walk.csv -o in/../in/./walk.csv"},
      {"explain_labels", "explain --expect in/labels.csv -o in/labels.csv in/walk.csv"},
      {"explain_installed",
       "explain in/walk.csv -o /usr/share/GestureModel/olvo_model_5_fb/hgr_olvo.xml"},
      {"replay_recording", "replay --log in/walk.csv in/walk.csv"},
      {"replay_models_recording",
       "replay --models in/models --log in/walk.csv in/walk.csv"},
      {"replay_model",
       "replay --models in/models --log in/models/olvo_model_5_fb/hgr_olvo.xml "
       "in/walk.csv"},
      {"eval_model", "eval in/set --model in/m.xml --report in/m.xml"},
      {"eval_manifest", "eval in/set --model in/m.xml --report in/m.model.json"},
      {"eval_labels", "eval in/set --model in/m.xml --report in/set/labels.csv"},
      {"synth_labels", "synth --gestures 1 -o out/a.csv --labels out/a.csv"},
      {"synth_plan", "synth --gestures 1 -o out/a.csv --plan out/./a.csv"},
      {"synth_both", "synth --gestures 1 -o out/a.csv --labels out/b --plan out/b"},
      {"synth_script", "synth --script in/script.csv -o in/script.csv"},
      {"synth_script_plan", "synth --script in/script.csv -o out/a --plan in/script.csv"},
      {"explain_printed", "explain in/walk.csv -o -"},
      {"replay_printed", "replay --log - in/walk.csv"},
      {"eval_printed", "eval in/set --model in/m.xml --report -"},
      {"build_printed", "build in/g.txt -o - --report -"},
      {"synth_printed_twice", "synth --gestures 1 -o - --labels -"},
  };
  return kSame;
}

bool make_inputs(const std::string& program, const std::string& models,
                 const std::string& folder) {
  const std::string wgr = "'" + program + "' ";
  const std::string log = wgr + "replay --models models --log WgrLog.txt walk.csv";
  std::filesystem::create_directories(folder + "/set2");
  std::filesystem::copy(models, folder + "/models",
                        std::filesystem::copy_options::recursive);
  write_file(folder + "/slots.csv", "slot,input\none,g.txt\ntwo,g.txt\n");
  write_file(
      folder + "/script.csv",
      "t_start,t_end,what\n0,2,rest\n2,3.2,raise\n3.2,5,rest\n5,6,push\n6,8,rest\n");
  const Outcome made = run_command(
      "cd '" + folder + "' && " + wgr +
      "synth --gestures 1 --distractors 0 -o walk.csv --labels labels.csv && " + wgr +
      "synth --gestures 1 --distractors 0 --person 2 -o set2/walk.csv && " + wgr +
      "synth --training set --persons 2 --gestures 2 --distractors 2 --style calm && " +
      wgr + "segment set -o g.txt && " + wgr + "build g.txt -o m.xml && " + log);
  EXPECT_EQ(made.status, 0) << made.err;
  return made.status == 0;
}
