/*
 * A small sensor service: reads samples as CSV and reports gestures, as a host on the
 * watch does with its sensors.
 *
 *   gesture-service [--paced] [RECORDING]
 *
 * The recording, or standard input, has the header t,ax,ay,az,gx,gy,gz: seconds, m/s²,
 * deg/s. With --paced samples are fed at the sample rate, otherwise as they come. Each
 * gesture is a line on standard error. Ends with 0 at the end of the input, 1 when
 * something cannot be read, 2 for a wrong call.
 */
#define _POSIX_C_SOURCE 200809L
#include <stdio.h>
#include <string.h>
#include <time.h>

#include "WgrInterface.h"

enum { RATE = 50, WRIST_WINDOW = 50, LINE_SIZE = 256, HEADER_LINE = 1 };

static const long kNanoseconds = 1000000000;

struct service {
  double t; /* of the sample that is being fed, s */
  int gestures;
};

static void on_gesture(void* handle, int gesture, void* user_data) {
  struct service* service = user_data;
  ++service->gestures;
  fprintf(stderr, "%9.3f s: gesture %d, %.1f m/s²\n", service->t, gesture,
          get_motion_strength(handle));
}

/* Waits until the next sample is due. */
static void pace(struct timespec* next) {
  next->tv_nsec += kNanoseconds / RATE;
  if (next->tv_nsec >= kNanoseconds) {
    next->tv_nsec -= kNanoseconds;
    ++next->tv_sec;
  }
  clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, next, NULL);
}

static int serve(FILE* input, const char* name, int paced) {
  const Point3Df bias = {0.0, 0.0, 0.0};
  struct service service = {0.0, 0};
  struct timespec next;
  char line[LINE_SIZE];
  int number = 0;
  int status = 0;

  WgrHandle h = create_gesture_handle();
  init_gesture_handle(h, RATE, bias, -1, -1, -1, WRIST_WINDOW);
  register_gesture_event_cb(h, on_gesture, &service);
  clock_gettime(CLOCK_MONOTONIC, &next);
  while (fgets(line, sizeof line, input) != NULL) {
    Point3Df acc;
    Point3Df gyro;
    if (++number == HEADER_LINE) continue;
    if (sscanf(line, "%lf,%lf,%lf,%lf,%lf,%lf,%lf", &service.t, &acc.x, &acc.y, &acc.z,
               &gyro.x, &gyro.y, &gyro.z) != 7) {
      fprintf(stderr, "gesture-service: %s:%d: no sample\n", name, number);
      status = 1;
      break;
    }
    if (paced) pace(&next);
    update_gesture(h, acc, gyro);
  }
  if (ferror(input)) status = 1;
  fprintf(stderr, "%d gestures\n", service.gestures);
  destroy_gesture_handle(&h);
  return status;
}

int main(int argc, char** argv) {
  const int paced = argc > 1 && strcmp(argv[1], "--paced") == 0;
  if (argc - paced > 2) {
    fputs("usage: gesture-service [--paced] [RECORDING]\n", stderr);
    return 2;
  }
  if (argc - paced < 2) return serve(stdin, "standard input", paced);
  FILE* const input = fopen(argv[1 + paced], "r");
  if (input == NULL) {
    perror(argv[1 + paced]);
    return 1;
  }
  const int status = serve(input, argv[1 + paced], paced);
  fclose(input);
  return status;
}
