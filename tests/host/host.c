/*
 * A host in plain C: nothing but the public header and the C library.
 *
 * It writes the default model, creates a handle, feeds rest and one gesture sample by
 * sample as a sensor service would, and checks every answer on the way. Ends with
 * status 0 when all were right; says on standard error which were not.
 */
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include "WgrInterface.h"

enum { RATE = 50, LABEL = 4, PUSH = 18 };

static int failures = 0;

#define CHECK(claim)                                                      \
  do {                                                                    \
    if (!(claim)) {                                                       \
      fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #claim); \
      ++failures;                                                         \
    }                                                                     \
  } while (0)

/* One class, one template of two points and gravity; everything is accepted. */
static int write_model(const char* directory, int label, double threshold) {
  char path[200];
  snprintf(path, sizeof path, "/usr/share/GestureModel/%s", directory);
  mkdir(path, 0777);
  snprintf(path, sizeof path, "/usr/share/GestureModel/%s/hgr_olvo.xml", directory);
  FILE* file = fopen(path, "w");
  if (file == NULL) return 0;
  fprintf(file, "1 1 0 1\n%d \n1 %g \n%d 3\n1 -1 0 \n0 0 0 \n0 0 10 \n", label, threshold,
          label);
  return fclose(file) == 0;
}

struct heard {
  WgrHandle handle;
  int gestures[8];
  int count;
};

static void on_gesture(void* handle, int gesture, void* user_data) {
  const Point3Df sample = {0.0, 0.0, 10.0};
  struct heard* heard = user_data;
  CHECK(update_gesture(handle, sample, sample) == 6); /* not taken in: it is reporting */
  heard->handle = handle;
  if (heard->count < 8) heard->gestures[heard->count] = gesture;
  ++heard->count;
}

static int feed_rest(WgrHandle h, int samples) {
  const Point3Df acc = {0.0, 0.0, 10.0};
  const Point3Df gyro = {1.5, 0.25, -0.5}; /* 1 deg/s of it is the bias */
  int answer = -1;
  for (int i = 0; i < samples; ++i) answer = update_gesture(h, acc, gyro);
  return answer;
}

/* A push along x and the stop after it, while the wrist trembles about z. */
static int feed_gesture(WgrHandle h) {
  for (int i = 0; i < 2 * PUSH; ++i) {
    const Point3Df acc = {i < PUSH ? 6.0 : -6.0, 0.0, 10.0};
    const Point3Df gyro = {1.5, 0.25, i % 2 == 0 ? 200.0 : -200.0};
    CHECK(update_gesture(h, acc, gyro) == 6);
    CHECK(get_movement_status(h) == 0);
  }
  CHECK(feed_rest(h, 9) == 6);
  return feed_rest(h, 1);
}

static void call_every_function(void) {
  const Point3Df bias = {1.0, 0.0, 0.0};
  struct heard heard;
  memset(&heard, 0, sizeof heard);

  WgrHandle h = create_gesture_handle();
  CHECK(h != NULL);
  CHECK(init_gesture_handle(h, RATE, bias, -1, -1, -1, RATE) == 0);
  CHECK(register_gesture_event_cb(h, NULL, NULL) == 0);
  CHECK(register_gesture_event_cb(h, on_gesture, &heard) == 1);
  CHECK(get_movement_status(h) == 1);
  CHECK(get_motion_strength(h) == 0.0);

  CHECK(feed_rest(h, 20) == 6);
  CHECK(get_movement_status(h) == 1);
  CHECK(feed_gesture(h) == LABEL);
  CHECK(heard.count == 1 && heard.gestures[0] == LABEL && heard.handle == h);
  CHECK(get_recog_cost_time(h) == 600.0); /* thirty points */
  CHECK(get_motion_strength(h) > 2.0 && get_motion_strength(h) < 7.0);
  CHECK(get_movement_status(h) == 1);

  /* The strictest level still takes it; a threshold nothing reaches does not. */
  set_gesture_rec_sensitivity(h, 3);
  CHECK(feed_rest(h, 20) == 6);
  CHECK(feed_gesture(h) == LABEL);
  set_gesture_rec_sensitivity(h, -20); /* 2.4 m/s², from 20 samples on */
  CHECK(feed_rest(h, 20) == 6);
  CHECK(feed_gesture(h) == LABEL);
  CHECK(heard.count == 3);

  /* The other wrist's model rejects everything, which a host hears of as 5. */
  CHECK(set_gesture_model(h, WG_WEARER_RIGHT, WG_MODE_MIX) == 0);
  CHECK(feed_rest(h, 20) == 6);
  CHECK(feed_gesture(h) == 5);
  CHECK(heard.count == 4 && heard.gestures[3] == 5);
  CHECK(set_gesture_model(h, (WgWatchWearer)2, WG_MODE_MIX) == 1);

  for (int i = 0; i < RATE; ++i) {
    const double side = (i / 5) % 2 == 0 ? 4.0 : -4.0;
    const Point3Df acc = {side, -side, 10.0};
    CHECK(get_wearer_type(h, acc) ==
          (i < RATE - 1 ? WG_WEARER_UNDECIDED : WG_WEARER_RIGHT));
  }

  CHECK(destroy_gesture_handle(&h) == 0);
  CHECK(h == NULL);
  CHECK(destroy_gesture_handle(&h) == 0);
}

static void ask_without_a_handle(void) {
  const Point3Df zero = {0.0, 0.0, 0.0};
  CHECK(init_gesture_handle(NULL, RATE, zero, -1, -1, -1, RATE) == 1);
  CHECK(set_gesture_model(NULL, WG_WEARER_LEFT, WG_MODE_OW) == 1);
  CHECK(register_gesture_event_cb(NULL, on_gesture, NULL) == 0);
  CHECK(update_gesture(NULL, zero, zero) == 0);
  CHECK(get_wearer_type(NULL, zero) == 2);
  CHECK(get_movement_status(NULL) == 1);
  CHECK(get_recog_cost_time(NULL) == 0.0);
  CHECK(get_motion_strength(NULL) == 0.0);
  CHECK(destroy_gesture_handle(NULL) == 0);
  set_gesture_rec_sensitivity(NULL, 1);
}

static void ask_for_the_version(void) {
  CHECK(sizeof(WgVersion) == 8);
  CHECK(get_version().major == 0 && get_version().minor == 1);
  WearableVersion.minor = 9;
  CHECK(get_version().minor == 9);
}

int main(void) {
  CHECK(write_model("olvo_model_5_fb", LABEL, -1e9));
  CHECK(write_model("olvo_model_5r_mix", LABEL, 0.0));
  if (failures == 0) call_every_function();
  ask_without_a_handle();
  ask_for_the_version();
  return failures == 0 ? 0 : 1;
}
