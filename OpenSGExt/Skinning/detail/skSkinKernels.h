#ifndef SK_OPENSGEXT_SKINNING_DETAIL_SKSKINKERNELS_H
#define SK_OPENSGEXT_SKINNING_DETAIL_SKSKINKERNELS_H

// The skin's two algorithms on plain arrays, beneath SkinAttachment: influence selection and
// linear blend deformation. Inputs are validated here; nothing is changed on bad input. Both run
// on TBB (whatever arena the caller is in) and give bit-identical results for any thread count.

#include <OpenSGExt/OSGIndexWeight.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGVector.h>

#include <cstddef>
#include <string>
#include <vector>

namespace skskin {

namespace deform {
struct Arrays;
}

/*! One joint's list of (vertex, weight) entries. */
struct JointWeights
{
    const osg::IndexWeight *entries = nullptr;
    std::size_t             count   = 0;
};

/*! What influence selection saw, for the caller's messages. */
struct InfluenceReport
{
    std::size_t unweighted = 0;   // vertices no joint lists (they follow joint 0)
    std::size_t overBudget = 0;   // vertices listed by more than four joints
    std::size_t zeroSum    = 0;   // vertices whose kept weights sum to 0 (left unnormalised)
    std::size_t nanSum     = 0;   // vertices whose kept weights sum to NaN
    std::size_t negative   = 0;   // vertices with a negative kept weight
    std::size_t maxListed  = 0;   // the most joints listing one vertex
};

/*! The selection order of a vertex's influences: heavier first, equal weights by lower joint
    index, NaN weights after all numbers (by joint index among themselves). A strict total
    order on distinct (joint, weight) pairs, so the result never depends on arrival order. */
inline bool influenceBefore(osg::UInt32 jointA, osg::Real32 weightA,
                            osg::UInt32 jointB, osg::Real32 weightB)
{
    const bool nanA = weightA != weightA;
    const bool nanB = weightB != weightB;
    if(nanA != nanB)
        return nanB;
    if(!nanA && weightA != weightB)
        return weightA > weightB;
    return jointA < jointB;
}

/*! Per vertex of numVertices: the four strongest (joint, weight) pairs over all joints that
    list it, renormalised to sum 1 unless the sum is 0, unused slots (0, 0); a vertex without
    pairs gets (0,0,0,0)/(1,0,0,0). First pass over the joints (auto partitioner) gathers the
    pairs per vertex, second over the vertices (static partitioner) selects them.
    An entry whose vertex index is >= numVertices, or a null entry list with a count, makes the
    result false with a message in error; indices and weights are then untouched. */
bool computeInfluences(const JointWeights *joints, std::size_t numJoints, std::size_t numVertices,
                       osg::Vec4i *indices, osg::Vec4f *weights,
                       InfluenceReport *report, std::string *error);

/*! Index of the first vertex using a joint index outside [0, numMatrices), or numVertices. */
std::size_t findBadJointIndex(const osg::Vec4i *indices, std::size_t numVertices,
                              std::size_t numMatrices);

/*! Linear blend deformation of n vertices. positions and normals: 3 floats per vertex (normals
    and outNormals may both be null). matrices: numMatrices deformer matrices; every joint index
    must be in range (findBadJointIndex). Position: M * (p, 1); normal: the inverse transpose of
    M's upper 3x3 applied to n, not renormalised (inf/NaN where M is singular). The work is split
    with a static partitioner at the given grain (0: automatic).

    The body is the widest instruction set the machine runs (deformIsa) unless isa names
    another of deformIsas(). One body gives the same bytes for any split of the work; bodies
    differ in rounding (the wide ones fuse multiply-adds). */
struct DeformJob
{
    enum Stores
    {
        StoresAuto,        // streaming for outputs too large to stay in the caches
        StoresCached,
        StoresStreaming    // non-temporal, where the body has them and the outputs are aligned
    };

    const float       *positions      = nullptr;
    const float       *normals        = nullptr;
    const osg::Vec4i  *indices        = nullptr;
    const osg::Vec4f  *weights        = nullptr;
    const osg::Matrix *matrices       = nullptr;
    std::size_t        numMatrices    = 0;
    std::size_t        numVertices    = 0;
    float             *outPositions   = nullptr;
    float             *outNormals     = nullptr;
    std::size_t        grain          = 0;
    const char        *isa            = nullptr;   // null: the best
    Stores             stores         = StoresAuto;
    bool               indicesChecked = false;     // the caller ran findBadJointIndex on them

    /*! Empty when the job can run, else what is wrong. */
    std::string validate(void) const;
    /*! Runs a valid job; false (nothing written) for an invalid one. An exception within the
        parallel work (none is expected) is caught: false, the outputs then partly written. */
    bool run(void) const;
    /*! The per-vertex body on [begin, end), on the calling thread; the same code run() uses
        (with cached stores). The job must be valid. */
    void runRange(std::size_t begin, std::size_t end) const;

  private:
    deform::Arrays arrays(void) const;
};

/*! Name of the instruction set the deformation uses by default: "avx512", "avx2", "sse2" or
    "scalar". */
const char *deformIsa(void);
/*! Every body this machine can run, best first. */
std::vector<std::string> deformIsas(void);

} // namespace skskin

#endif
