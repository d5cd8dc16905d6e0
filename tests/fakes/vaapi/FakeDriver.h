#pragma once

#include <cstdint>

#include "fakes/support/FaultScript.h"
#include "fakes/vaapi/EncodeContext.h"
#include "fakes/vaapi/Objects.h"

namespace qvs::fakes {

/// Of all displays of the process.
OpenCounts& openCounts();

/// One display's objects.
struct FakeDriver {
  FakeDriver() { openCounts().opened("display"); }
  ~FakeDriver() { openCounts().closed("display"); }

  Table<FakeConfig> configs{openCounts()};
  Table<FakeSurface> surfaces{openCounts()};
  Table<FakeBuffer> buffers{openCounts()};
  Table<FakeImage> images{openCounts()};
  Table<EncodeContext> contexts{openCounts()};
};

/// A call into the driver: where, and the fault that it has to carry out in its own way.
struct Call {
  FakeDriver& driver;
  Fault fault;
};

}  // namespace qvs::fakes
