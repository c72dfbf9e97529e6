#pragma once
#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "common/device_map.h"
#include "common/latest_inputs.h"

namespace kvr {

// What a user is told of a mapped device.
struct LinkState {
  bool tried = false;  // the reader has asked it at least once
  bool answering = false;
  std::string why;  // of the last failure
};

// One connection of the device map (a Modbus TCP server, a serial line)
// with a reader thread of its own that asks its devices back to back and
// puts each one's newest input where the sampling pass takes it. The
// connection is made again after a failure, after a pause that doubles
// from 100 ms to at most 2 s; devices that stop answering keep their last
// input, and come back into their entries by themselves.
class Link {
 public:
  static constexpr int kFirstPauseMs = 100;
  static constexpr int kLongestPauseMs = 2000;

  Link(LinkAddress address, LatestInputs* modules, LatestInputs* probes);
  virtual ~Link();  // each kind stops the reader in its own destructor
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  const LinkAddress& Address() const { return address_; }
  // One family's devices on this connection, replacing those it had.
  void SetDevices(DeviceFamily family, std::vector<MappedDevice> devices);
  // A device closed: the connection stops asking it.
  void Remove(DeviceFamily family, int channel);
  bool Empty() const;
  void Start();
  bool Tried(DeviceFamily family) const;
  LinkState StateOf(DeviceFamily family, int channel) const;

 protected:
  // A device as the reader keeps it.
  struct Device {
    MappedDevice map;
    LinkState state;
  };

  // The reader's steps, on its thread.
  virtual bool Connect(std::string& why) = 0;
  virtual void Disconnect() = 0;
  // The devices changed (and at each connection): what the kind plans or
  // sends for them.
  virtual void Planned(std::vector<Device>& devices) = 0;
  // One round over the devices; false when the connection failed as a
  // whole, with the reason in `why`.
  virtual bool Round(std::vector<Device>& devices, std::string& why) = 0;

  void Stop();
  // Waits `ms` unless stopped or given other devices first.
  void Pause(double ms);
  void Answered(Device& device, const LatestInputs::Input& input);
  void Failed(Device& device, const std::string& why);
  bool Stopping() const { return stop_; }

 private:
  void ReaderLoop();
  bool TakeDevices(std::vector<Device>& devices);
  void FailAll(std::vector<Device>& devices, const std::string& why);
  void Publish(const Device& device);
  LatestInputs& InputsOf(DeviceFamily family) const;

  LinkAddress address_;
  LatestInputs* modules_;
  LatestInputs* probes_;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<MappedDevice> wanted_;  // both families, set by the caller
  unsigned wantedVersion_ = 0;
  std::map<std::pair<DeviceFamily, int>, LinkState> states_;
  std::atomic<bool> stop_{false};
  std::thread reader_;
  unsigned takenVersion_ = 0;  // the reader's
  bool answered_ = false;      // the reader's: input kept in this round
};

// The printed name of a mapped device: "module on channel 3 (modbus-tcp ...)".
std::string NameOf(const MappedDevice& device);

}  // namespace kvr
