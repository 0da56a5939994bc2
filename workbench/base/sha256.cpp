#include "base/sha256.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <iterator>

#include "base/errors.h"

namespace wgr {

using State = std::array<uint32_t, 8>;

static constexpr size_t kBlock = 64;  // bytes

static constexpr State kStart = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};

static constexpr std::array<uint32_t, 64> kRounds = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4,
    0xab1c5ed5, 0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe,
    0x9bdc06a7, 0xc19bf174, 0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f,
    0x4a7484aa, 0x5cb0a9dc, 0x76f988da, 0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7,
    0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967, 0x27b70a85, 0x2e1b2138, 0x4d2c6dfc,
    0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85, 0xa2bfe8a1, 0xa81a664b,
    0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070, 0x19a4c116,
    0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7,
    0xc67178f2};

static uint32_t turned(uint32_t x, int bits) { return x >> bits | x << (32 - bits); }

static void take_block(const unsigned char* block, State& state) {
  std::array<uint32_t, 64> w;
  for (size_t i = 0; i < 16; ++i) {
    w[i] = static_cast<uint32_t>(block[4 * i]) << 24 |
           static_cast<uint32_t>(block[4 * i + 1]) << 16 |
           static_cast<uint32_t>(block[4 * i + 2]) << 8 |
           static_cast<uint32_t>(block[4 * i + 3]);
  }
  for (size_t i = 16; i < 64; ++i) {
    const uint32_t a = w[i - 15];
    const uint32_t b = w[i - 2];
    w[i] = w[i - 16] + (turned(a, 7) ^ turned(a, 18) ^ a >> 3) + w[i - 7] +
           (turned(b, 17) ^ turned(b, 19) ^ b >> 10);
  }
  auto [a, b, c, d, e, f, g, h] = state;
  for (size_t i = 0; i < 64; ++i) {
    const uint32_t t1 = h + (turned(e, 6) ^ turned(e, 11) ^ turned(e, 25)) +
                        ((e & f) ^ (~e & g)) + kRounds[i] + w[i];
    const uint32_t t2 =
        (turned(a, 2) ^ turned(a, 13) ^ turned(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
    h = g;
    g = f;
    f = e;
    e = d + t1;
    d = c;
    c = b;
    b = a;
    a = t1 + t2;
  }
  const State added = {a, b, c, d, e, f, g, h};
  for (size_t i = 0; i < 8; ++i) state[i] += added[i];
}

std::string sha256(std::string_view bytes) {
  // The end: one bit, zeros, and the length in bits as eight bytes.
  std::string text(bytes);
  const uint64_t bits = static_cast<uint64_t>(bytes.size()) * 8;
  text += static_cast<char>(0x80);
  while (text.size() % kBlock != kBlock - 8) text += '\0';
  for (int shift = 56; shift >= 0; shift -= 8) {
    text += static_cast<char>(static_cast<unsigned char>(bits >> shift));
  }
  State state = kStart;
  for (size_t at = 0; at < text.size(); at += kBlock) {
    take_block(reinterpret_cast<const unsigned char*>(text.data()) + at, state);
  }
  std::string digits;
  for (const uint32_t word : state) {
    for (int shift = 28; shift >= 0; shift -= 4) {
      digits += "0123456789abcdef"[word >> shift & 15];
    }
  }
  return digits;
}

std::string sha256_of_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file),
                          std::istreambuf_iterator<char>()};
  if (!file) throw UsageError(path + ": cannot be read");
  return sha256(bytes);
}

}  // namespace wgr
