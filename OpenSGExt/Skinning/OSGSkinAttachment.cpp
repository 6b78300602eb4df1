#include <OpenSGExt/OSGSkinAttachment.h>
#include <OpenSGExt/Skinning/detail/skSkinKernels.h>
#include <OpenSGExt/skMatrixCache.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGeoPositions3f.h>
#include <OpenSG/OSGGeoNormals3f.h>
#include <OpenSG/OSGLog.h>
#include <platform/skSceneData.h>

#include <tbb/cache_aligned_allocator.h>
#include <tbb/parallel_for_each.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <exception>
#include <iostream>
#include <mutex>

namespace osg {

namespace {

typedef std::vector<Matrix, tbb::cache_aligned_allocator<Matrix>> MatrixArray;

// The registry: one thread edits it (see the class comment); updateAllDeformers only reads it.
struct Registry
{
    std::vector<SkinAttachment *>            deformers;     // registration order
    std::map<UInt32, std::set<UInt32>>        influencers;   // cluster id -> skin ids
};

Registry &registry(void)
{
    static Registry r;
    return r;
}

// The arena of setConcurrency; null for TBB's default.
std::unique_ptr<tbb::task_arena> &skinArena(void)
{
    static std::unique_ptr<tbb::task_arena> arena;
    return arena;
}

template <class F>
void inSkinArena(F &&f)
{
    std::unique_ptr<tbb::task_arena> &arena = skinArena();
    if(arena)
        arena->execute(f);
    else
        f();
}

bool sameBits(const Matrix &a, const Matrix &b)
{
    return std::memcmp(a.getValues(), b.getValues(), 16 * sizeof(Real32)) == 0;
}

// The positions and normals of a geometry as plain arrays when they are 3-float ones.
const MFPnt3f *positionsOf(const GeometryPtr &geo)
{
    GeoPositions3fPtr pos = GeoPositions3fPtr::dcast(geo->getPositions());
    return pos != NullFC ? &pos->getField() : NULL;
}

const MFVec3f *normalsOf(const GeometryPtr &geo)
{
    GeoNormals3fPtr nor = GeoNormals3fPtr::dcast(geo->getNormals());
    return nor != NullFC ? &nor->getField() : NULL;
}

} // namespace

/*! Run-time state, apart from the fields. The mutex guards matrices, the vertex caches and the
    joint volume; the atomics are read without it. */
struct SkinAttachment::Runtime
{
    mutable std::mutex  mutex;
    MatrixArray         matrices;
    std::vector<Pnt3f, tbb::cache_aligned_allocator<Pnt3f>> positions;
    std::vector<Vec3f, tbb::cache_aligned_allocator<Vec3f>> normals;

    std::atomic<bool>   matricesDirty{false};
    std::atomic<UInt64> lastStamp{0};
    std::atomic<bool>   started{false};          // the first update always works
    std::atomic<bool>   influencesStale{true};
    std::atomic<bool>   volumeValid{false};
    bool                indicesChecked = false;  // jointIndices known to be in range

    // Joint volume: per joint the bind-pose box of the positions it drives, plus the vertices
    // that are not convex blends (their deformed positions are added one by one).
    std::vector<BoxVolume> bindBoxes;
    std::vector<UInt32>    looseVertices;
    bool                   originInVolume = false;   // a zero-sum vertex sits at the origin
    BoxVolume              jointVolume;

    // Messages about a per-frame condition are given once per change.
    bool reportedWeights = false;
    bool reportedShape   = false;

    UInt32 hookedGeometryId = 0;                 // geometry carrying our volume callbacks
    bool   registered       = false;
};

SkinAttachment::SkinAttachment(void) : Inherited(), _rt(new Runtime)
{
}

SkinAttachment::SkinAttachment(const SkinAttachment &source) : Inherited(source), _rt(new Runtime)
{
}

SkinAttachment::~SkinAttachment(void) = default;

void SkinAttachment::onCreate(const SkinAttachment *source)
{
    Inherited::onCreate(source);
    // The copy constructor shared the source's joints; the copy owns its references.
    if(source != NULL)
    {
        for(const DeformerClusterPtr &joint : _mfJoints)
            addRefCP(joint);
        recordInfluencers();
    }
}

void SkinAttachment::onDestroy(void)
{
    deleteDeformer(SkinAttachmentPtr(this));
    Registry &reg = registry();
    for(auto &entry : reg.influencers)
        entry.second.erase(getContainerId());
    if(_rt->hookedGeometryId != 0)
    {
        GeometryPtr geo = GeometryPtr::dcast(
            FieldContainerFactory::the()->getContainer(_rt->hookedGeometryId));
        if(geo != NullFC)
        {
            geo->setVolumeCacheCB(Geometry::VolumeCacheFunctor());
            geo->setInvalidateVolumeCacheCB(Geometry::InvalidateVolumeCacheFunctor());
        }
        _rt->hookedGeometryId = 0;
    }
    MFDeformerClusterPtr::StorageType joints;
    joints.swap(_mfJoints.getValues());
    for(const DeformerClusterPtr &joint : joints)
        subRefCP(joint);
    Inherited::onDestroy();
}

/*------------------------------- geometry ---------------------------------*/

GeometryPtr SkinAttachment::getGeometry(void) const
{
    for(const FieldContainerPtr &parent : _mfParents)
    {
        GeometryPtr geo = GeometryPtr::dcast(parent);
        if(geo != NullFC)
            return geo;
    }
    return NullFC;
}

bool SkinAttachment::hasSkinning(const GeometryPtr &geo)
{
    if(geo == NullFC)
        return false;
    for(const auto &entry : geo->getAttachments())
    {
        if(entry.second != NullFC &&
           entry.second->getType().isDerivedFrom(SkinAttachment::getClassType()))
            return true;
    }
    return false;
}

void SkinAttachment::attachToGeometry(void)
{
    GeometryPtr geo = getGeometry();
    const UInt32 id = geo != NullFC ? geo->getContainerId() : 0;
    if(id == _rt->hookedGeometryId)
        return;
    if(_rt->hookedGeometryId != 0)
    {
        // A former carrier that still exists loses the callbacks; one that is gone is ignored.
        GeometryPtr old = GeometryPtr::dcast(
            FieldContainerFactory::the()->getContainer(_rt->hookedGeometryId));
        if(old != NullFC && !hasSkinning(old))
        {
            old->setVolumeCacheCB(Geometry::VolumeCacheFunctor());
            old->setInvalidateVolumeCacheCB(Geometry::InvalidateVolumeCacheFunctor());
        }
    }
    _rt->hookedGeometryId = id;
    _rt->volumeValid      = false;
    _rt->influencesStale  = true;
    if(geo != NullFC)
    {
        geo->setVolumeCacheCB(&SkinAttachment::getVolumeCacheCB);
        geo->setInvalidateVolumeCacheCB(&SkinAttachment::invalidateVolumeCacheCB);
        addDeformer(SkinAttachmentPtr(this));
    }
}

/*------------------------------- joints -----------------------------------*/

bool SkinAttachment::addJoint(const DeformerClusterPtr &cluster)
{
    if(cluster == NullFC)
    {
        SWARNING << "SkinAttachment::addJoint: null joint refused" << std::endl;
        return false;
    }
    CPEditor edit(SkinAttachmentPtr(this), JointsFieldMask);
    addRefCP(cluster);
    _mfJoints.push_back(cluster);
    return true;
}

bool SkinAttachment::removeJoint(UInt32 index)
{
    if(index >= _mfJoints.size())
    {
        SWARNING << "SkinAttachment::removeJoint: index " << index << " out of range (size "
                 << _mfJoints.size() << ")" << std::endl;
        return false;
    }
    DeformerClusterPtr cluster = _mfJoints[index];
    {
        CPEditor edit(SkinAttachmentPtr(this), JointsFieldMask);
        _mfJoints.erase(_mfJoints.begin() + index);
    }
    subRefCP(cluster);
    return true;
}

void SkinAttachment::clearJoints(void)
{
    MFDeformerClusterPtr::StorageType joints;
    {
        CPEditor edit(SkinAttachmentPtr(this), JointsFieldMask);
        joints.swap(_mfJoints.getValues());
    }
    for(const DeformerClusterPtr &joint : joints)
        subRefCP(joint);
}

/*------------------------------- influences -------------------------------*/

void SkinAttachment::invalidateInfluences(void)
{
    _rt->influencesStale = true;
}

bool SkinAttachment::updateIndicesAndWeights(void)
{
    return updateIndicesAndWeightsImpl();
}

bool SkinAttachment::updateIndicesAndWeightsImpl(void)
{
    GeometryPtr geo = getGeometry();
    if(geo == NullFC)
    {
        SWARNING << "SkinAttachment::updateIndicesAndWeights: the skin is not attached to a "
                    "geometry" << std::endl;
        return false;
    }
    GeoPositionsPtr positions = geo->getPositions();
    const std::size_t n = positions != NullFC ? positions->getSize() : 0;

    std::vector<skskin::JointWeights> lists(_mfJoints.size());
    for(UInt32 j = 0; j < _mfJoints.size(); ++j)
    {
        const DeformerClusterPtr &cluster = _mfJoints[j];
        if(cluster == NullFC)
        {
            SWARNING << "SkinAttachment::updateIndicesAndWeights: joint " << j
                     << " is null; influences left as they were" << std::endl;
            return false;
        }
        const MFIndexWeight &w = cluster->getWeights();
        lists[j].entries = w.empty() ? NULL : &w[0];
        lists[j].count   = w.size();
    }

    std::vector<Vec4i> indices;
    std::vector<Vec4f> weights;
    skskin::InfluenceReport report;
    std::string error;
    bool ok = false;
    try
    {
        indices.resize(n);
        weights.resize(n);
        inSkinArena([&] {
            ok = skskin::computeInfluences(lists.data(), lists.size(), n, indices.data(),
                                           weights.data(), &report, &error);
        });
    }
    catch(const std::exception &e)
    {
        error = e.what();
    }
    catch(...)
    {
        error = "unknown exception";
    }
    if(!ok)
    {
        SWARNING << "SkinAttachment::updateIndicesAndWeights: " << error
                 << "; influences left as they were" << std::endl;
        return false;
    }
    if(!_rt->reportedWeights && (report.zeroSum != 0 || report.nanSum != 0))
    {
        SWARNING << "SkinAttachment: " << report.zeroSum
                 << " vertices whose weights sum to 0 are left unnormalised, " << report.nanSum
                 << " have a NaN weight sum" << std::endl;
        _rt->reportedWeights = true;
    }

    // Bind-pose boxes per joint, and the vertices a convex blend does not cover.
    std::vector<BoxVolume> boxes(_mfJoints.size());
    for(BoxVolume &b : boxes)
        b.setEmpty();
    std::vector<UInt32> loose;
    bool origin = false;
    const MFPnt3f *pos = positionsOf(geo);
    for(std::size_t v = 0; v < n; ++v)
    {
        const Vec4f &w = weights[v];
        const Real32 sum = ((w[0] + w[1]) + w[2]) + w[3];
        if(std::isnan(sum))
            continue;   // a NaN position has no box
        if(sum == 0.f)
        {
            origin = true;
            continue;
        }
        const Pnt3f p = pos != NULL ? (*pos)[UInt32(v)] : positions->getValue(UInt32(v));
        if(w[0] < 0.f || w[1] < 0.f || w[2] < 0.f || w[3] < 0.f || !std::isfinite(sum))
        {
            loose.push_back(UInt32(v));
            continue;
        }
        for(int k = 0; k < 4; ++k)
        {
            if(w[k] != 0.f && !boxes.empty())
                boxes[std::size_t(indices[v][k])].extendBy(p);
        }
    }

    {
        CPEditor edit(SkinAttachmentPtr(this), JointIndicesFieldMask | SkinWeightsFieldMask);
        _mfJointIndices.getValues().assign(indices.begin(), indices.end());
        _mfSkinWeights.getValues().assign(weights.begin(), weights.end());
    }
    {
        std::lock_guard<std::mutex> lock(_rt->mutex);
        _rt->bindBoxes.swap(boxes);
        _rt->looseVertices.swap(loose);
        _rt->originInVolume = origin;
        _rt->indicesChecked = true;   // produced here, all within the joints
    }
    _rt->influencesStale = false;
    _rt->volumeValid     = false;
    return true;
}

/*------------------------------- matrices ---------------------------------*/

bool SkinAttachment::computeMatrices(skMatrixCache &cache, std::vector<Matrix> &out) const
{
    out.assign(_mfJoints.size(), Matrix());
    for(std::size_t j = 0; j < _mfJoints.size(); ++j)
    {
        const DeformerClusterPtr &cluster = _mfJoints[UInt32(j)];
        if(cluster == NullFC)
            continue;
        NodePtr node = cluster->getJointNode();
        if(node == NullFC || !node->getActive())
            continue;   // identity
        Matrix m;
        cache.getToWorld(node, m);
        cluster->getDeformerMatrix(m);
        out[j] = m;
    }
    return true;
}

bool SkinAttachment::storeMatrices(const std::vector<Matrix> &fresh)
{
    std::lock_guard<std::mutex> lock(_rt->mutex);
    MatrixArray &stored = _rt->matrices;
    bool differs = stored.size() != fresh.size();
    for(std::size_t j = 0; !differs && j < fresh.size(); ++j)
        differs = !sameBits(stored[j], fresh[j]);
    if(differs)
    {
        stored.assign(fresh.begin(), fresh.end());
        _rt->matricesDirty = true;
        computeJointVolume(stored.data(), stored.size(), _rt->jointVolume);
        _rt->volumeValid = true;
    }
    return differs;
}

void SkinAttachment::invalidateGeometryVolume(void)
{
    GeometryPtr geo = getGeometry();
    if(geo == NullFC)
        return;
    // The geometry's invalidation reaches our callback, which drops the box; it already follows
    // the new matrices, so it is valid again at once.
    geo->invalidateVolume();
    _rt->volumeValid = true;
}

bool SkinAttachment::updateDeformerMatrices(void)
{
    skMatrixCache cache;
    std::vector<Matrix> fresh;
    computeMatrices(cache, fresh);
    const bool differs = storeMatrices(fresh);
    if(differs)
        invalidateGeometryVolume();
    return differs;
}

bool SkinAttachment::claimUpdate(bool force)
{
    skSceneData *scene = skSceneDataManager::getSceneData();
    const bool claimed = scene != NULL && scene->claimChange(_rt->lastStamp);
    const bool first   = !_rt->started.exchange(true);
    if(!claimed && !first && !force)
        return false;
    if(force || _rt->influencesStale)
        updateIndicesAndWeightsImpl();
    return true;
}

bool SkinAttachment::update(bool force, SceneChanges *)
{
    if(!claimUpdate(force))
        return false;
    return updateDeformerMatrices();
}

bool SkinAttachment::getDeformerMatricesDirty(void) const
{
    return _rt->matricesDirty;
}

void SkinAttachment::setDeformerMatricesDirty(bool dirty)
{
    _rt->matricesDirty = dirty;
}

void SkinAttachment::getDeformerMatrices(std::vector<Matrix> &matrices) const
{
    std::lock_guard<std::mutex> lock(_rt->mutex);
    matrices.assign(_rt->matrices.begin(), _rt->matrices.end());
}

/*------------------------------- deformation ------------------------------*/

void SkinAttachment::getDeformedVertices(const Pnt3f *&positions, const Vec3f *&normals)
{
    GeometryPtr geo = getGeometry();
    if(geo == NullFC)
        return;
    if(!_rt->matricesDirty)
    {
        std::lock_guard<std::mutex> lock(_rt->mutex);
        if(!_rt->positions.empty() && !_rt->normals.empty())
        {
            positions = _rt->positions.data();
            normals   = _rt->normals.data();
            return;
        }
    }
    bool haveMatrices;
    {
        std::lock_guard<std::mutex> lock(_rt->mutex);
        haveMatrices = !_rt->matrices.empty();
    }
    if(!haveMatrices)
        update(true, NULL);

    std::lock_guard<std::mutex> lock(_rt->mutex);
    const MFPnt3f *pos = positionsOf(geo);
    const MFVec3f *nor = normalsOf(geo);
    const std::size_t n = pos != NULL ? pos->size() : 0;
    if(pos == NULL || nor == NULL || nor->size() != n || _mfJointIndices.size() != n ||
       _mfSkinWeights.size() != n || n == 0 || _rt->matrices.empty())
    {
        if(!_rt->reportedShape)
        {
            SWARNING << "SkinAttachment::getDeformedVertices: nothing deformed: the geometry needs "
                        "3-float positions and normals of one count with joint indices and weights "
                        "for each (positions "
                     << (pos != NULL ? std::to_string(pos->size()) : std::string("not 3-float"))
                     << ", normals "
                     << (nor != NULL ? std::to_string(nor->size()) : std::string("not 3-float"))
                     << ", joint indices " << _mfJointIndices.size() << ", weights "
                     << _mfSkinWeights.size() << ", matrices " << _rt->matrices.size() << ")"
                     << std::endl;
            _rt->reportedShape = true;
        }
        return;
    }
    if(!_rt->indicesChecked)
    {
        const std::size_t bad = skskin::findBadJointIndex(&_mfJointIndices[0], n,
                                                          _rt->matrices.size());
        if(bad != n)
        {
            if(!_rt->reportedShape)
            {
                SWARNING << "SkinAttachment::getDeformedVertices: vertex " << bad
                         << " uses a joint index outside the " << _rt->matrices.size()
                         << " joints; nothing deformed" << std::endl;
                _rt->reportedShape = true;
            }
            return;
        }
        _rt->indicesChecked = true;
    }

    skskin::DeformJob job;
    job.positions    = (*pos)[0].getValues();
    job.normals      = (*nor)[0].getValues();
    job.indices      = &_mfJointIndices[0];
    job.weights      = &_mfSkinWeights[0];
    job.matrices     = _rt->matrices.data();
    job.numMatrices  = _rt->matrices.size();
    job.numVertices  = n;
    job.indicesChecked = true;
    bool ok = false;
    try
    {
        _rt->positions.resize(n);
        _rt->normals.resize(n);
        job.outPositions = _rt->positions[0].getValues();
        job.outNormals   = _rt->normals[0].getValues();
        inSkinArena([&] { ok = job.run(); });
    }
    catch(const std::exception &e)
    {
        SWARNING << "SkinAttachment::getDeformedVertices: " << e.what() << std::endl;
    }
    catch(...)
    {
        SWARNING << "SkinAttachment::getDeformedVertices: unknown exception" << std::endl;
    }
    if(!ok)
    {
        _rt->positions.clear();
        _rt->normals.clear();
        return;
    }
    _rt->matricesDirty = false;
    positions = _rt->positions.data();
    normals   = _rt->normals.data();
}

void SkinAttachment::clearData(void)
{
    {
        CPEditor edit(SkinAttachmentPtr(this), JointIndicesFieldMask | SkinWeightsFieldMask);
        _mfJointIndices.clear();
        _mfSkinWeights.clear();
    }
    std::lock_guard<std::mutex> lock(_rt->mutex);
    _rt->matrices.clear();
    _rt->positions.clear();
    _rt->positions.shrink_to_fit();
    _rt->normals.clear();
    _rt->normals.shrink_to_fit();
    _rt->bindBoxes.clear();
    _rt->looseVertices.clear();
    _rt->originInVolume = false;
    _rt->jointVolume.setEmpty();
    _rt->volumeValid     = false;
    _rt->matricesDirty   = false;
    _rt->influencesStale = true;
    _rt->started         = false;
}

/*------------------------------- renumbering ------------------------------*/

bool SkinAttachment::remapIndices(const UInt32 *oldIndices, UInt32 count, const UInt32 *newIndices,
                                  bool replace)
{
    if(count != 0 && (oldIndices == NULL || newIndices == NULL))
    {
        SWARNING << "SkinAttachment::remapIndices: null index arrays for a count of " << count
                 << "; nothing remapped" << std::endl;
        return false;
    }
    // old index -> the positions in the arrays that list it, in array order.
    std::vector<std::pair<UInt32, UInt32>> byOld(count);
    for(UInt32 i = 0; i < count; ++i)
        byOld[i] = std::make_pair(oldIndices[i], i);
    std::stable_sort(byOld.begin(), byOld.end(),
                     [](const std::pair<UInt32, UInt32> &a, const std::pair<UInt32, UInt32> &b)
                     { return a.first < b.first; });

    std::set<DeformerCluster *> done;   // a joint listed twice is remapped once
    for(const DeformerClusterPtr &cluster : _mfJoints)
    {
        if(cluster == NullFC || !done.insert(cluster.getCPtr()).second)
            continue;
        const MFIndexWeight &in = cluster->getWeights();
        // (new index, old index, weight) for every resulting entry; then one entry per new
        // index, that of the smallest old index.
        struct Out { UInt32 newIndex, oldIndex; Real32 weight; };
        std::vector<Out> out;
        out.reserve(in.size());
        bool changedAny = false;
        for(const IndexWeight &e : in)
        {
            auto lo = std::lower_bound(byOld.begin(), byOld.end(), std::make_pair(e.getIndex(), 0u),
                                       [](const std::pair<UInt32, UInt32> &a,
                                          const std::pair<UInt32, UInt32> &b)
                                       { return a.first < b.first; });
            if(lo == byOld.end() || lo->first != e.getIndex())
            {
                if(replace)
                    changedAny = true;
                else
                    out.push_back(Out{ e.getIndex(), e.getIndex(), e.getWeight() });
                continue;
            }
            for(; lo != byOld.end() && lo->first == e.getIndex(); ++lo)
            {
                const UInt32 to = newIndices[lo->second];
                changedAny = changedAny || to != e.getIndex();
                out.push_back(Out{ to, e.getIndex(), e.getWeight() });
            }
        }
        std::stable_sort(out.begin(), out.end(), [](const Out &a, const Out &b)
                         { return a.newIndex != b.newIndex ? a.newIndex < b.newIndex
                                                           : a.oldIndex < b.oldIndex; });
        MFIndexWeight::StorageType result;
        result.reserve(out.size());
        // Of the old vertices merged into one, the smallest keeps its entries (all of them: a
        // joint may list a vertex twice).
        UInt32 keptOld = 0;
        for(std::size_t i = 0; i < out.size(); ++i)
        {
            if(i == 0 || out[i].newIndex != out[i - 1].newIndex)
                keptOld = out[i].oldIndex;
            else if(out[i].oldIndex != keptOld)
            {
                changedAny = true;
                continue;
            }
            result.push_back(IndexWeight(out[i].newIndex, out[i].weight));
        }
        if(!changedAny && result.size() == in.size())
            continue;
        CPEditor edit(cluster, DeformerCluster::WeightsFieldMask);
        cluster->editMFWeights()->getValues().swap(result);
    }
    _rt->influencesStale = true;
    return true;
}

bool SkinAttachment::remapIndices(const std::map<UInt32, UInt32> &oldToNew)
{
    std::vector<UInt32> from, to;
    from.reserve(oldToNew.size());
    to.reserve(oldToNew.size());
    for(const auto &entry : oldToNew)
    {
        from.push_back(entry.first);
        to.push_back(entry.second);
    }
    return remapIndices(from.data(), UInt32(from.size()), to.data(), false);
}

/*------------------------------- volume -----------------------------------*/

void SkinAttachment::computeJointVolume(const Matrix *matrices, std::size_t count, BoxVolume &volume)
{
    volume.setEmpty();
    for(std::size_t j = 0; j < count && j < _rt->bindBoxes.size(); ++j)
    {
        const BoxVolume &b = _rt->bindBoxes[j];
        if(b.isEmpty())
            continue;
        Pnt3f lo, hi;
        b.getBounds(lo, hi);
        for(int c = 0; c < 8; ++c)
        {
            Pnt3f corner((c & 1) ? hi[0] : lo[0], (c & 2) ? hi[1] : lo[1], (c & 4) ? hi[2] : lo[2]);
            Pnt3f q;
            matrices[j].mult(corner, q);
            volume.extendBy(q);
        }
    }
    if(_rt->originInVolume)
        volume.extendBy(Pnt3f(0.f, 0.f, 0.f));
    if(!_rt->looseVertices.empty())
    {
        GeometryPtr geo = getGeometry();
        const MFPnt3f *pos = geo != NullFC ? positionsOf(geo) : NULL;
        for(UInt32 v : _rt->looseVertices)
        {
            if(pos == NULL || v >= pos->size() || v >= _mfJointIndices.size() ||
               v >= _mfSkinWeights.size())
                continue;
            const Pnt3f &p = (*pos)[v];
            Real64 q[3] = { 0, 0, 0 };
            for(int k = 0; k < 4; ++k)
            {
                const Int32 j = _mfJointIndices[v][k];
                if(j < 0 || std::size_t(j) >= count)
                    continue;
                const Matrix &m = matrices[j];
                for(int r = 0; r < 3; ++r)
                    q[r] += Real64(_mfSkinWeights[v][k]) *
                            (Real64(m[0][r]) * p[0] + Real64(m[1][r]) * p[1] +
                             Real64(m[2][r]) * p[2] + Real64(m[3][r]));
            }
            volume.extendBy(Pnt3f(Real32(q[0]), Real32(q[1]), Real32(q[2])));
        }
    }
    if(volume.isEmpty())
        return;
    // The deformation blends in single precision; a margin relative to the box's magnitude
    // keeps every deformed position inside.
    Pnt3f lo, hi;
    volume.getBounds(lo, hi);
    Real32 mag = 0.f;
    for(int i = 0; i < 3; ++i)
        mag = std::max(mag, std::max(std::fabs(lo[i]), std::fabs(hi[i])));
    const Real32 margin = mag * 1e-5f + 1e-30f;
    volume.setBounds(lo - Vec3f(margin, margin, margin), hi + Vec3f(margin, margin, margin));
}

void SkinAttachment::updateJointVolumes(BoxVolume &volume, skMatrixCache *cache)
{
    skMatrixCache own;
    std::vector<Matrix> matrices;
    computeMatrices(cache != NULL ? *cache : own, matrices);
    std::lock_guard<std::mutex> lock(_rt->mutex);
    computeJointVolume(matrices.data(), matrices.size(), volume);
}

BoxVolume SkinAttachment::getJointVolume(void) const
{
    std::lock_guard<std::mutex> lock(_rt->mutex);
    return _rt->jointVolume;
}

namespace {

SkinAttachmentPtr skinOf(const GeometryPtr &geo)
{
    if(geo == NullFC)
        return NullFC;
    for(const auto &entry : geo->getAttachments())
    {
        SkinAttachmentPtr skin = SkinAttachmentPtr::dcast(entry.second);
        if(skin != NullFC)
            return skin;
    }
    return NullFC;
}

} // namespace

void SkinAttachment::invalidateVolumeCacheCB(const GeometryPtr &geo)
{
    SkinAttachmentPtr skin = skinOf(geo);
    if(skin != NullFC)
        skin->_rt->volumeValid = false;
}

void SkinAttachment::getVolumeCacheCB(const GeometryPtr &geo, DynamicVolume &volume)
{
    SkinAttachmentPtr skin = skinOf(geo);
    if(skin == NullFC)
        return;
    Runtime &rt = *skin->_rt;
    bool haveBoxes;
    {
        std::lock_guard<std::mutex> lock(rt.mutex);
        haveBoxes = !rt.bindBoxes.empty() || rt.originInVolume || !rt.looseVertices.empty();
    }
    if(!haveBoxes)
    {
        // Influences not computed yet: the undeformed positions are the best guess.
        GeoPositionsPtr pos = geo->getPositions();
        for(UInt32 i = 0; pos != NullFC && i < pos->getSize(); ++i)
            volume.extendBy(pos->getValue(i));
        return;
    }
    if(!rt.volumeValid)
    {
        BoxVolume box;
        skin->updateJointVolumes(box, NULL);
        std::lock_guard<std::mutex> lock(rt.mutex);
        rt.jointVolume = box;
        rt.volumeValid = true;
    }
    BoxVolume box = skin->getJointVolume();
    if(!box.isEmpty())
        volume.extendBy(box);
}

/*------------------------------- registry ---------------------------------*/

void SkinAttachment::addDeformer(const SkinAttachmentPtr &skin)
{
    if(skin == NullFC)
        return;
    Registry &reg = registry();
    if(std::find(reg.deformers.begin(), reg.deformers.end(), skin.getCPtr()) == reg.deformers.end())
        reg.deformers.push_back(skin.getCPtr());
    skin->_rt->registered = true;
}

void SkinAttachment::deleteDeformer(const SkinAttachmentPtr &skin)
{
    if(skin == NullFC)
        return;
    Registry &reg = registry();
    reg.deformers.erase(std::remove(reg.deformers.begin(), reg.deformers.end(), skin.getCPtr()),
                        reg.deformers.end());
    skin->_rt->registered = false;
}

void SkinAttachment::addInfluencer(const DeformerClusterPtr &cluster, UInt32 skinId)
{
    if(cluster == NullFC)
        return;
    registry().influencers[cluster->getContainerId()].insert(skinId);
}

void SkinAttachment::deleteInfluencer(std::size_t clusterId)
{
    if(clusterId > std::size_t(UINT32_MAX))
        return;
    registry().influencers.erase(UInt32(clusterId));
}

std::set<SkinAttachmentPtr> SkinAttachment::getInfluencerTargets(const DeformerClusterPtr &cluster)
{
    std::set<SkinAttachmentPtr> result;
    if(cluster == NullFC)
        return result;
    const Registry &reg = registry();
    auto it = reg.influencers.find(cluster->getContainerId());
    if(it == reg.influencers.end())
        return result;
    for(UInt32 id : it->second)
    {
        SkinAttachmentPtr skin = SkinAttachmentPtr::dcast(FieldContainerFactory::the()->getContainer(id));
        if(skin != NullFC)
            result.insert(skin);
    }
    return result;
}

std::vector<SkinAttachmentPtr> SkinAttachment::getDeformers(void)
{
    std::vector<SkinAttachmentPtr> result;
    for(SkinAttachment *skin : registry().deformers)
        result.push_back(SkinAttachmentPtr(skin));
    return result;
}

void SkinAttachment::recordInfluencers(void)
{
    Registry &reg = registry();
    const UInt32 id = getContainerId();
    for(auto &entry : reg.influencers)
        entry.second.erase(id);
    for(const DeformerClusterPtr &cluster : _mfJoints)
        addInfluencer(cluster, id);
}

bool SkinAttachment::updateAllDeformers(bool force)
{
    const std::vector<SkinAttachment *> skins = registry().deformers;
    std::vector<char> changedFlags(skins.size(), 0);
    std::vector<std::size_t> order(skins.size());
    for(std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    // The matrices and caches are per skin; the geometry volume invalidation touches shared
    // scene nodes, so it runs afterwards on this thread.
    inSkinArena([&] {
    tbb::parallel_for_each(order.begin(), order.end(), [&](std::size_t i)
    {
        try
        {
            SkinAttachment *skin = skins[i];
            if(!skin->claimUpdate(force))
                return;
            skMatrixCache cache;
            std::vector<Matrix> fresh;
            skin->computeMatrices(cache, fresh);
            changedFlags[i] = skin->storeMatrices(fresh) ? 1 : 0;
        }
        catch(const std::exception &e)
        {
            SWARNING << "SkinAttachment::updateAllDeformers: " << e.what() << std::endl;
        }
        catch(...)
        {
            SWARNING << "SkinAttachment::updateAllDeformers: unknown exception" << std::endl;
        }
    });
    });
    bool any = false;
    for(std::size_t i = 0; i < skins.size(); ++i)
    {
        if(!changedFlags[i])
            continue;
        any = true;
        skins[i]->invalidateGeometryVolume();
    }
    return any;
}

/*------------------------------- threads ----------------------------------*/

void SkinAttachment::setConcurrency(UInt32 threads)
{
    if(threads == 0)
        skinArena().reset();
    else
        skinArena().reset(new tbb::task_arena(int(std::min<UInt32>(threads, 4096))));
}

UInt32 SkinAttachment::getConcurrency(void)
{
    return skinArena() ? UInt32(skinArena()->max_concurrency()) : 0;
}

/*------------------------------- container --------------------------------*/

void SkinAttachment::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    if(whichField & JointsFieldMask)
    {
        if((origin & ChangedOrigin::Abstract) && (origin & ChangedOrigin::AbstrIncRefCount))
        {
            for(const DeformerClusterPtr &joint : _mfJoints)
                addRefCP(joint);
        }
        recordInfluencers();
        _rt->influencesStale = true;
        _rt->reportedWeights = false;
        std::lock_guard<std::mutex> lock(_rt->mutex);
        _rt->indicesChecked = false;
    }
    if(whichField & (JointIndicesFieldMask | SkinWeightsFieldMask))
    {
        std::lock_guard<std::mutex> lock(_rt->mutex);
        _rt->indicesChecked = false;
        _rt->reportedShape  = false;
        _rt->matricesDirty  = true;   // the caches no longer follow the fields
    }
    if(whichField & ParentsFieldMask)
        attachToGeometry();
}

void SkinAttachment::dump(UInt32 uiIndent, const BitVector bvFlags) const
{
    Inherited::dump(uiIndent, bvFlags);
    std::string pad(uiIndent + 2, ' ');
    std::lock_guard<std::mutex> lock(_rt->mutex);
    std::cout << pad << "deformer matrices: " << _rt->matrices.size()
              << (_rt->matricesDirty ? " (dirty)" : "") << "\n"
              << pad << "deformed vertices: " << _rt->positions.size() << "\n"
              << pad << "influences " << (_rt->influencesStale ? "stale" : "current")
              << ", registered " << (_rt->registered ? "yes" : "no") << std::endl;
}

} // namespace osg
