#pragma once
#include <stdexcept>
#include <string>

namespace tavelin {

// An entry point of a device library, which must have been bound.
template <typename Function>
Function Bound(Function entryPoint, const char* name) {
  if (entryPoint == nullptr)
    throw std::logic_error(std::string("device library not bound: ") + name);
  return entryPoint;
}

}  // namespace tavelin
