// Records the calls of one process. Every function here may be called from any thread,
// takes no longer than a record, and changes nothing that the host can see but time.
//
// A call that may run the host's code, or end the process, is recorded before it is
// made, with its answer behind it unless that is the usual one; the sample that ended a
// host is in the file.
#pragma once

#include "WgrInterface.h"
#include "handles.h"

namespace wgr::recorder {

// Each returns the handle's number, which the answer is recorded with.
std::uint32_t before_create();
std::uint32_t before_init(WgrHandle h, const capture::InitArguments& arguments);
std::uint32_t before_sensitivity(WgrHandle h, int level);
std::uint32_t before_set_model(WgrHandle h, int wearer, int mode);
std::uint32_t before_register(WgrHandle h, WgGestureEventCb callback);
std::uint32_t before_destroy(const WgrHandle* ph);
// What an injector plays goes in the place of the host's sample.
void sample(WgrHandle h, Point3Df& acc, Point3Df& gyro);

// The answers of those: kReturned with a value, or kThrew.
void answer(std::uint8_t call, std::uint32_t id, std::uint8_t ending, int value);
void sample_answer(WgrHandle h, std::uint8_t ending, int value);

// A handle is there now, or its settings have changed.
void created(WgrHandle h, std::uint32_t id);
void initialised(WgrHandle h, const capture::InitArguments& arguments);
void sensitivity_set(WgrHandle h, int level);
void model_set(WgrHandle h, int wearer, int mode);
// The place that the recorder's own callback finds the host's in; null when memory runs
// out.
Handle* registered(WgrHandle h, WgGestureEventCb callback, void* user_data);

// While samples are injected: the acceleration of the last one.
void replace_acceleration(WgrHandle h, Point3Df& acc);
void wearer(WgrHandle h, const Point3Df& acc, std::uint8_t ending, int value);
void movement(WgrHandle h, int value);
void cost_time(WgrHandle h, double value);
void strength(WgrHandle h, double value);
void version(WgVersion value);

void callback(WgrHandle h, int gesture);
void callback_end(WgrHandle h, std::uint8_t ending);

}  // namespace wgr::recorder
