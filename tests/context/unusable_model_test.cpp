#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "context/WgrContext.h"
#include "support/child.h"
#include "support/installed_models.h"
#include "support/text.h"

using namespace wgr;

// A context whose model of the left wrist's one-way mode can then not be loaded.
class UnusableModel : public ::testing::Test {
 protected:
  void SetUp() override {
    install_all_models();
    Capture printing;
    context = std::make_unique<WgrContext>();
    std::filesystem::remove(kLogPath);
  }

  std::unique_ptr<WgrContext> context;
};

static void expect_empty(const Gmodel& model) {
  EXPECT_EQ(model.nclasses, 0);
  EXPECT_EQ(model.nTemplate, 0);
  EXPECT_EQ(model.normalize, 0);
  EXPECT_EQ(model.havegravity, 0);
  EXPECT_TRUE(model.class_labels.empty());
  EXPECT_TRUE(model.class_thresholds.empty());
  EXPECT_TRUE(model.templates.empty());
}

TEST_F(UnusableModel, MissingLeavesTheEmptyModelAndLogsSuccess) {
  std::filesystem::remove_all("/usr/share/GestureModel/olvo_model_5_ow");
  EXPECT_EQ(context->set_gesture_model(WG_WEARER_LEFT, WG_MODE_OW), 0);
  expect_empty(*context->ages->hgr->model);
  EXPECT_EQ(read_log(),
            "set_gesture_model 81: ---setmode----hand type:0, mode:0, "
            "path:/usr/share/GestureModel/olvo_model_5_ow/hgr_olvo\n"
            "set_gesture_model 87: ---set_hand_model success\n");
}

TEST_F(UnusableModel, WithCountsThatMakeNoSenseLeavesTheEmptyModel) {
  const std::string path = std::string(c_GmodelPath[0]) + ".xml";
  for (const char* text : {"-1 1 1 1\n", "1 -1 1 1\n3 \n1 0.5 \n",
                           "1 1 1 1\n3 \n1 0.5 \n3 -2\n", "1 1 1 1\n3 \n0 \n3 -1\n"}) {
    write_file(path, text);
    std::filesystem::remove(kLogPath);
    EXPECT_EQ(context->set_gesture_model(WG_WEARER_LEFT, WG_MODE_OW), 0) << text;
    expect_empty(*context->ages->hgr->model);
    EXPECT_EQ(count_of(read_log(), "---set_hand_model success\n"), 1u) << text;
  }
}

static void limit_memory() {
  const rlimit limit = {512u << 20, 512u << 20};
  if (setrlimit(RLIMIT_AS, &limit) != 0) std::_Exit(3);
}

// Emulators take the limit, and do not keep to it.
static bool memory_can_be_limited() {
  return in_child([] {
           limit_memory();
           void* volatile memory = std::malloc(1u << 30);
           return memory == nullptr ? 0 : 1;
         }) == 0;
}

// Whether the empty model is what a process gets that cannot have so much memory.
static int absurd_model_is_empty(WgrContext& context) {
  limit_memory();
  context.set_gesture_model(WG_WEARER_LEFT, WG_MODE_OW);
  const Gmodel& model = *context.ages->hgr->model;
  return model.nTemplate == 0 && model.templates.empty() ? 1 : 0;
}

// A checker of memory ends a process that asks for too much of it, or needs the address
// space for itself.
static bool memory_is_checked() {
#if defined(WGR_SANITIZED)
  return true;
#else
  const char* preloaded = std::getenv("LD_PRELOAD");
  return preloaded != nullptr && std::strstr(preloaded, "vgpreload") != nullptr;
#endif
}

TEST_F(UnusableModel, TooLargeForTheMemoryLeavesTheEmptyModel) {
  if (memory_is_checked()) GTEST_SKIP() << "not under a memory checker";
  // Two thousand million templates; and a hundred of a million points, of which it has
  // none.
  std::string points = "1 100 0 0\n3 \n0 \n";
  for (int t = 0; t < 100; ++t) points += "3 1000000\n\n\n\n";
  std::vector<std::string> texts = {"1 2000000000 0 0\n3 \n0 \n"};
  if (memory_can_be_limited()) texts.push_back(points);
  for (const std::string& text : texts) {
    write_file(std::string(c_GmodelPath[0]) + ".xml", text);
    EXPECT_EQ(in_child([&]() -> int { std::exit(absurd_model_is_empty(*context)); }), 1)
        << text.substr(0, 20);
  }
}
