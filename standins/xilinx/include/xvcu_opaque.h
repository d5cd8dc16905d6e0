// A picture that lies on a card, as the card's plug-ins hand it on. Pure data, C layout.
#pragma once

extern "C" {

/// Whoever holds the pointer to it owns the picture, and gives it back by calling the function once, with the address of
/// the pointer.
struct xvcu_opaque_object {
  void (*xvcu_destroy_object)(void* object);
};
}
