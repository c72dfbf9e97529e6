#pragma once

// Only the entry points leave the device libraries; everything else stays
// private to each one, so the three can live in one process without sharing
// their state by accident.
#define KVR_EXPORT extern "C" __attribute__((visibility("default")))

// The version buffer the program hands in holds 16 characters.
#define KVR_VERSION_BUFFER_SIZE 16
