#include "foundation/StackRoom.h"

#include <pthread.h>

#include <cstdint>

namespace {

struct StackBounds {
    uintptr_t Low = 0;  // the stack grows down towards it
    std::size_t Size = 0;
};

StackBounds FindBounds() {
    StackBounds bounds;
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return bounds;
    void* low = nullptr;
    std::size_t size = 0;
    if (pthread_attr_getstack(&attributes, &low, &size) == 0) {
        bounds.Low = reinterpret_cast<uintptr_t>(low);
        bounds.Size = size;
    }
    pthread_attr_destroy(&attributes);
    return bounds;
}

}  // namespace

bool StackIsLow(double part) {
    thread_local const StackBounds bounds = FindBounds();
    if (bounds.Size == 0) return false;
    // The frame's own address: sanitizers may keep locals elsewhere.
    const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    const auto reserve = static_cast<uintptr_t>(static_cast<double>(bounds.Size) * part);
    return here < bounds.Low + reserve;
}
