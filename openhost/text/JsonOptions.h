// What a run's JSON service is like, and what modules have asked of it.
#pragma once

namespace openhost {

/// Bits that the host sets in the kind of each value beside its type tag; none at first.
void SetKindBits(int bits);
/// How often a parser has parsed that had been asked just before to read numbers consistently. Numbers are read so in
/// any case.
int ConsistentParses();

} // namespace openhost
