#pragma once
// Clock, running average and colour helper shared by the device libraries.
#include <cstdint>

#include "kvr_export.h"

KVR_EXPORT double kv_timeGetTime();
KVR_EXPORT int32_t kr_Version(char* buffer);
KVR_EXPORT double kr_Average(double average, double value, int32_t count, int32_t mode);
KVR_EXPORT int32_t ColorAttenuation(int32_t colour, int32_t percent);

using kv_timeGetTime_fn = double (*)();
using kr_Version_fn = int32_t (*)(char*);
using kr_Average_fn = double (*)(double, double, int32_t, int32_t);
using ColorAttenuation_fn = int32_t (*)(int32_t, int32_t);
