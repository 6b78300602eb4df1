#include <OpenSGExt/OSGDeformerCluster.h>
#include <OpenSGExt/OSGSkinAttachment.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGLog.h>

#include <iostream>

namespace osg {

DeformerCluster::DeformerCluster(void) :
    Inherited(),
    _geoBindPoseInv(),
    _nodeBindPoseInv(),
    _jointSpace(),
    _bindPoseVolume()
{
    _bindPoseVolume.setEmpty();
}

DeformerCluster::DeformerCluster(const DeformerCluster &source) :
    Inherited(source),
    _geoBindPoseInv(source._geoBindPoseInv),
    _nodeBindPoseInv(source._nodeBindPoseInv),
    _jointSpace(source._jointSpace),
    _bindPoseVolume(source._bindPoseVolume)
{
}

DeformerCluster::~DeformerCluster(void) = default;

void DeformerCluster::onCreate(const DeformerCluster *source)
{
    Inherited::onCreate(source);
    // The copy constructor shared the source's node; the copy owns its reference.
    if(source != NULL && _sfNode.getValue() != NullFC)
        addRefCP(_sfNode.getValue());
}

void DeformerCluster::onDestroy(void)
{
    SkinAttachment::deleteInfluencer(getContainerId());
    FieldContainerPtr node = _sfNode.getValue();
    _sfNode.setValue(NullFC);
    if(node != NullFC)
        subRefCP(node);
    Inherited::onDestroy();
}

void DeformerCluster::setNode(const FieldContainerPtr &node)
{
    FieldContainerPtr old = _sfNode.getValue();
    if(old == node)
        return;
    if(node != NullFC)
        addRefCP(node);
    {
        CPEditor edit(DeformerClusterPtr(this), NodeFieldMask);
        _sfNode.setValue(node);
    }
    if(old != NullFC)
        subRefCP(old);
}

NodePtr DeformerCluster::getJointNode(void) const
{
    return NodePtr::dcast(_sfNode.getValue());
}

void DeformerCluster::getDeformerMatrix(Matrix &matrix) const
{
    // D = inverse(geoBindPose) * W * J
    Matrix d(_geoBindPoseInv);
    d.mult(matrix);
    d.mult(_jointSpace);
    matrix = d;
}

void DeformerCluster::updateGeoBindPoseInverse(void)
{
    if(!_sfGeoBindPose.getValue().inverse(_geoBindPoseInv))
        SWARNING << "DeformerCluster: geoBindPose is singular; its inverse is taken as the identity"
                 << std::endl;
}

void DeformerCluster::updateNodeBindPoseInverse(void)
{
    if(!_sfNodeBindPose.getValue().inverse(_nodeBindPoseInv))
        SWARNING << "DeformerCluster: nodeBindPose is singular; its inverse is taken as the "
                    "identity" << std::endl;
}

void DeformerCluster::updateJointSpaceMatrix(void)
{
    _jointSpace = _nodeBindPoseInv;
    _jointSpace.mult(_sfGeoBindPose.getValue());
}

void DeformerCluster::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    if(whichField & GeoBindPoseFieldMask)
        updateGeoBindPoseInverse();
    if(whichField & NodeBindPoseFieldMask)
        updateNodeBindPoseInverse();
    if(whichField & (GeoBindPoseFieldMask | NodeBindPoseFieldMask))
        updateJointSpaceMatrix();
    if((whichField & NodeFieldMask) && (origin & ChangedOrigin::Abstract) &&
       (origin & ChangedOrigin::AbstrIncRefCount) && _sfNode.getValue() != NullFC)
        addRefCP(_sfNode.getValue());
    if(whichField & WeightsFieldMask)
    {
        for(const SkinAttachmentPtr &skin : SkinAttachment::getInfluencerTargets(DeformerClusterPtr(this)))
            skin->invalidateInfluences();
    }
}

void DeformerCluster::dump(UInt32 uiIndent, const BitVector bvFlags) const
{
    Inherited::dump(uiIndent, bvFlags);
    std::string pad(uiIndent + 2, ' ');
    Pnt3f lo, hi;
    _bindPoseVolume.getBounds(lo, hi);
    std::cout << pad << "bind-pose volume: "
              << (_bindPoseVolume.isEmpty() ? std::string("empty") : std::string("set")) << "\n"
              << pad << "joint space: " << _jointSpace << std::endl;
}

} // namespace osg
