#include <OpenSGExt/Geometry/detail/skGeometrySkin.h>
#include <OpenSGExt/OSGSkinAttachment.h>

#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGLog.h>

#include <map>
#include <set>
#include <sstream>
#include <vector>

namespace osg {
namespace detail {

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

// Each point's position index, read before the geometry changes; empty when the positions are
// not in an interleaved column (then createSingleIndex keeps their numbering).
std::vector<UInt32> positionColumn(const GeometryPtr &geo)
{
    std::vector<UInt32> column;
    const GeoIndicesPtr indices = geo->getIndices();
    const UInt32 n = geo->getIndexMapping().size();
    if(indices == NullFC || n <= 1)
        return column;
    const Int16 entry = geo->calcMappingIndex(Geometry::MapPosition);
    if(entry < 0)
        return column;
    const UInt32 points = indices->getSize() / n;
    column.resize(points);
    for(UInt32 p = 0; p < points; ++p)
        column[p] = indices->getValue(p * n + UInt32(entry));
    return column;
}

} // namespace

bool geometryHasSkinning(const GeometryPtr &geo)
{
    return SkinAttachment::hasSkinning(geo);
}

Int32 singleIndexKeepingSkin(const GeometryPtr &geo)
{
    const SkinAttachmentPtr skin = skinOf(geo);
    const std::vector<UInt32> oldPositions =
        skin != NullFC ? positionColumn(geo) : std::vector<UInt32>();
    const Int32 result = createSingleIndex(geo);
    if(result < 0 || oldPositions.empty())
        return result;

    // Every new vertex takes its source position's influences; positions no point used go.
    const GeoIndicesPtr indices = geo->getIndices();
    if(indices == NullFC || indices->getSize() != oldPositions.size())
        return result;
    std::vector<UInt32> from, to;
    std::vector<bool> seen(std::size_t(result), false);
    for(UInt32 p = 0; p < oldPositions.size(); ++p)
    {
        const UInt32 v = indices->getValue(p);
        if(v < seen.size() && !seen[v])
        {
            seen[v] = true;
            from.push_back(oldPositions[p]);
            to.push_back(v);
        }
    }
    if(!skin->remapIndices(from.data(), UInt32(from.size()), to.data(), true))
        SWARNING << "the skin could not follow the geometry's new vertex numbering" << std::endl;
    return result;
}

std::string checkSkinForUnify(const GeometryPtr &geo)
{
    const SkinAttachmentPtr skin = skinOf(geo);
    if(skin == NullFC)
        return std::string();
    const UInt32 count = geo->getPositions() != NullFC ? geo->getPositions()->getSize() : 0;
    const MFDeformerClusterPtr &joints = *skin->getMFJoints();
    for(UInt32 j = 0; j < joints.size(); ++j)
    {
        if(joints[j] == NullFC)
        {
            std::ostringstream msg;
            msg << "joint " << j << " of the skin is null";
            return msg.str();
        }
        for(const IndexWeight &e : joints[j]->getWeights())
        {
            if(e.getIndex() >= count)
            {
                std::ostringstream msg;
                msg << "joint " << j << " of the skin names vertex " << e.getIndex()
                    << " of " << count;
                return msg.str();
            }
        }
    }
    return std::string();
}

void remapSkinAfterUnify(const GeometryPtr &geo, const std::function<Int64(UInt32)> &find)
{
    const SkinAttachmentPtr skin = skinOf(geo);
    if(skin == NullFC)
        return;
    skin->clearData();

    // Entries of merged vertices move to their representative (one entry per joint and vertex,
    // see remapIndices); entries of vertices the search does not find end as index 0, weight 0.
    std::map<UInt32, UInt32> oldToNew;
    std::set<UInt32> missing;
    const MFDeformerClusterPtr &joints = *skin->getMFJoints();
    for(UInt32 j = 0; j < joints.size(); ++j)
    {
        for(const IndexWeight &e : joints[j]->getWeights())
        {
            if(oldToNew.count(e.getIndex()) != 0 || missing.count(e.getIndex()) != 0)
                continue;
            const Int64 rep = find(e.getIndex());
            if(rep >= 0)
                oldToNew[e.getIndex()] = UInt32(rep);
            else
                missing.insert(e.getIndex());
        }
    }
    skin->remapIndices(oldToNew);
    if(!missing.empty())
    {
        for(UInt32 j = 0; j < joints.size(); ++j)
        {
            const DeformerClusterPtr cluster = joints[j];
            bool touched = false;
            for(const IndexWeight &e : cluster->getWeights())
                touched = touched || missing.count(e.getIndex()) != 0;
            if(!touched)
                continue;
            beginEditCP(cluster, DeformerCluster::WeightsFieldMask);
            for(IndexWeight &e : cluster->editMFWeights()->getValues())
            {
                if(missing.count(e.getIndex()) != 0)
                {
                    e.setIndex(0);
                    e.setWeight(0.f);
                }
            }
            endEditCP(cluster, DeformerCluster::WeightsFieldMask);
        }
    }
    beginEditCP(skin, SkinAttachment::JointsFieldMask);
    endEditCP(skin, SkinAttachment::JointsFieldMask);
}

} // namespace detail
} // namespace osg
