#ifndef SK_OPENSGEXT_SKINNING_DETAIL_SKSKINDEFORM_H
#define SK_OPENSGEXT_SKINNING_DETAIL_SKSKINDEFORM_H

// The deformation bodies behind DeformJob, one per instruction set, chosen at run time. Every
// body treats each vertex with the same instructions wherever it falls in a range: the wide ones
// run a range's ragged ends through their full-width body on a padded copy. So the output of one
// body does not depend on how the work is split.

#include <cstddef>
#include <cstdint>

namespace skskin {
namespace deform {

struct Arrays
{
    const float   *positions    = nullptr;   // 3 per vertex
    const float   *normals      = nullptr;   // 3 per vertex, or null (then outNormals too)
    const int32_t *indices      = nullptr;   // 4 per vertex, each in [0, number of matrices)
    const float   *weights      = nullptr;   // 4 per vertex
    const float   *matrices     = nullptr;   // 16 per joint, column by column; 64-byte aligned is faster
    float         *outPositions = nullptr;
    float         *outNormals   = nullptr;
    // Non-temporal stores of whole output lines; the output arrays must be 64-byte aligned.
    bool           stream       = false;
};

typedef void (*RangeFn)(const Arrays &arrays, std::size_t begin, std::size_t end);

struct Body
{
    const char *name;
    RangeFn     range;
    bool        canStream;   // honours Arrays::stream (the others ignore it)
};

/*! The bodies this machine can run, best first; count in *n. */
const Body *bodies(std::size_t *n);
/*! The body of that name if the machine can run it, else null; null or "" is the best. */
const Body *findBody(const char *name);

} // namespace deform
} // namespace skskin

#endif
