/*
 * Makes the texts that are measured. A seed gives the same text in every run, on every machine.
 */
#ifndef BENCH_GENERATOR_H
#define BENCH_GENERATOR_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace bench
{

/*
 * Returns an XML text of nearly size bytes, but not more. The kinds:
 *   database     an application database; one of 200 KB has about 6,700 elements and 480
 *                tuples, no more than one datagram holds, and packs to 30 KB
 *   attributes   elements with many attributes, and hardly a name or value twice
 *   records      elements with three to six attributes of a dozen names; half of the values repeat
 *   text         prose with entities and multi-byte characters
 *   deep         chains of elements, each the only child of the one around it
 */
std::string generate(const std::string &kind, size_t size, uint32_t seed);

} // namespace bench

#endif
