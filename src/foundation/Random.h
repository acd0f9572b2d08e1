// Random: numbers from the operating system's secure generator.
#pragma once

#include <cstdint>

// 32 random bits from getrandom(2), or /dev/urandom if that is unavailable.
uint32_t SecureRandom32();
