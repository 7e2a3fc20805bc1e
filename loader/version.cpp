// The version of tarn-db-loader, whose command line has no option for it: a note in the file, which
// `readelf -n` shows, and `strings`.

#include <stdint.h>
#include <tarn_version.h>

struct VersionNote {
    uint32_t nameSize, descriptionSize, type;
    char name[8];
    char description[sizeof("tarn-db-loader " TARN_VERSION)];
};
static_assert(sizeof(VersionNote) - sizeof(VersionNote::description) <= 24, "no padding in front");

// Notes are aligned to four bytes.
alignas(4) __attribute__((used, section(".note.tarn.version"))) static const VersionNote note = {
    5, sizeof(VersionNote::description), 1, "Tarn", "tarn-db-loader " TARN_VERSION};
