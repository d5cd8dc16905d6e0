#pragma once

namespace qvs {

/// What a CrossplatformThread runs.
class ICrossplatformThreadRunnable {
 public:
  virtual ~ICrossplatformThreadRunnable() = default;

  /// Called once, on the thread, which ends when this returns.
  virtual void threadWork() = 0;
};

}  // namespace qvs
