// common/random.h — one Mersenne Twister per thread, seeded from the random device on first use.
// Tests seed it to make a run repeatable.
#pragma once

#include <cstdint>
#include <random>

std::mt19937& gf_rng();                      // this thread's generator
void gf_seedRandom(uint32_t seed);           // reseed this thread's generator (tests, replays)
bool gf_randomBool();                        // fair coin
int gf_randomInt(int lo, int hi);            // uniform in [lo, hi]
double gf_randomReal(double lo, double hi);  // uniform in [lo, hi)
