// How a picture lies in its target.
#pragma once

namespace qvs::ucc {

/// Any of the eight ways to lay a rectangle onto another with parallel edges: the source's columns and rows
/// are reversed first, then rows become columns. Without a transposition, target(x, y) is source(x, y) with
/// those reversals; with it, source(y, x).
struct Orientation {
  bool columnsReversed = false;
  bool rowsReversed = false;
  bool transposed = false;

  bool operator==(const Orientation&) const = default;
  bool upright() const { return *this == Orientation{}; }
};

/// Mirrored from left to right, then turned clockwise by the quarters and halves asked for.
constexpr Orientation makeOrientation(bool mirror, bool quarterTurn, bool halfTurn) {
  return {mirror != halfTurn, quarterTurn != halfTurn, quarterTurn};
}

}  // namespace qvs::ucc
