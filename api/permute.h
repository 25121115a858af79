// A permutation under a key: of all numbers up to a given one each becomes another one, and no two the same. Redacting
// takes it for octets and for digits alike, so that identities that differ stay different.
#ifndef VELNOR3GPP_API_PERMUTE_H
#define VELNOR3GPP_API_PERMUTE_H

#include <stdint.h>

// The number that `value`, of 0 to `last`, becomes; only where `last` is 0 does it stay. `schedule` is that of AES.
uint64_t permute(const uint32_t* schedule, uint64_t value, uint64_t last);

#endif
