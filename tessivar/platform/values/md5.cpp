// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/detail/md5.h"

#include "tessivar/platform/detail/byte_order.h"

#include <bit>
#include <cstring>
#include <utility>

namespace tessivar::platform {
namespace {

// floor(2^32 * |sin(i + 1)|)
constexpr std::uint32_t sines[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};
constexpr int shifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

struct State {
  std::uint32_t a = 0x67452301;
  std::uint32_t b = 0xefcdab89;
  std::uint32_t c = 0x98badcfe;
  std::uint32_t d = 0x10325476;
};

constexpr std::uint32_t little_endian(std::uint32_t word) {
  return host_is_little_endian ? word : reversed(word);
}

// Each step depends on `b` of the step before. For speed, each step uses `b` as late as possible.
template <int I>
inline void step(State& s, const std::uint32_t (&words)[16]) {
  constexpr int round = I / 16;
  std::uint32_t sum = s.a + sines[I];
  if constexpr (round == 0) {
    sum += words[I];
    sum += s.d ^ (s.b & (s.c ^ s.d));
  } else if constexpr (round == 1) {
    sum += words[(5 * I + 1) % 16];
    sum += s.c & ~s.d;  // the two halves have no bit in common
    sum += s.b & s.d;
  } else if constexpr (round == 2) {
    sum += words[(3 * I + 5) % 16];
    sum += (s.c ^ s.d) ^ s.b;
  } else {
    sum += words[(7 * I) % 16];
    sum += s.c ^ (s.b | ~s.d);
  }
  s = {s.d, s.b + std::rotl(sum, shifts[round][I % 4]), s.b, s.c};
}

template <int... I>
inline void steps(State& s, const std::uint32_t (&words)[16], std::integer_sequence<int, I...>) {
  (step<I>(s, words), ...);
}

void add_block(State& state, const std::uint8_t* block) {
  std::uint32_t words[16];
  std::memcpy(words, block, sizeof words);
  for (std::uint32_t& word : words) word = little_endian(word);
  State s = state;
  steps(s, words, std::make_integer_sequence<int, 64>());
  state = {state.a + s.a, state.b + s.b, state.c + s.c, state.d + s.d};
}

}  // namespace

void md5(const std::uint8_t* data, std::size_t size, std::uint8_t (&digest)[16]) {
  constexpr std::size_t block = 64;
  constexpr std::size_t count_octets = 8;
  State state;
  std::size_t done = 0;
  for (; size - done >= block; done += block) add_block(state, data + done);

  // The tail: the remaining octets, a bit that is 1, zeros, and the number of bits in the last eight octets.
  std::uint8_t tail[2 * block] = {};
  const std::size_t rest = size - done;
  if (rest > 0) std::memcpy(tail, data + done, rest);
  tail[rest] = 0x80;
  const std::size_t tail_size = rest + 1 + count_octets <= block ? block : 2 * block;
  std::uint64_t bits = static_cast<std::uint64_t>(size) * 8;
  for (std::size_t i = 0; i < count_octets; ++i, bits >>= 8)
    tail[tail_size - count_octets + i] = static_cast<std::uint8_t>(bits);
  for (std::size_t i = 0; i < tail_size; i += block) add_block(state, tail + i);

  const std::uint32_t words[4] = {little_endian(state.a), little_endian(state.b), little_endian(state.c),
                                  little_endian(state.d)};
  std::memcpy(digest, words, sizeof digest);
}

}  // namespace tessivar::platform
