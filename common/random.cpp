#include "common/random.h"

namespace {
struct ThreadRng {
    std::mt19937 gen;
    ThreadRng() {
        std::random_device rd;
        gen.seed(rd());
    }
};
thread_local ThreadRng tl_rng;
}  // namespace

std::mt19937& gf_rng() { return tl_rng.gen; }
void gf_seedRandom(uint32_t seed) { tl_rng.gen.seed(seed); }
bool gf_randomBool() { return std::uniform_int_distribution<int>(0, 1)(tl_rng.gen) == 1; }
int gf_randomInt(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(tl_rng.gen); }
double gf_randomReal(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(tl_rng.gen); }
