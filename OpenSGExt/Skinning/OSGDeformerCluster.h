#ifndef _OSGDEFORMERCLUSTER_H_
#define _OSGDEFORMERCLUSTER_H_

#include <OpenSGExt/OSGDeformerClusterBase.h>
#include <OpenSG/OSGBoxVolume.h>

namespace osg {

/*! One joint of a skin: the node that drives it ("node"), the vertices it influences with their
    weights ("weights", position indices of the skinned geometry) and its two bind poses.

    Kept by changed(): the inverses of both bind poses and the joint-space matrix
    J = inverse(nodeBindPose) * geoBindPose, so that the per-frame deformer matrix costs two
    products. A singular bind pose (|det| < 1e-30) is reported; its inverse is then the
    identity.

    Ownership of "node": setNode takes one reference to the new node and gives back the one on
    the old node; destruction gives it back too. A shallow copy takes its own reference. Reading
    the field from a stream or synchronising it takes none; a loader that ends its edit with the
    origin Abstract|AbstrIncRefCount makes the cluster take it then. Writing the field through
    the generated accessor leaves the reference to the caller.

    Skins that use this cluster are told, through the registry of SkinAttachment, when its
    weights change, and when the cluster is destroyed. */
class DeformerCluster : public DeformerClusterBase
{
  public:
    typedef DeformerClusterBase Inherited;

    /*! On input the node's current world matrix W, on output the deformer matrix
        D = inverse(geoBindPose) * W * J, which maps a bind-pose vertex in the geometry's local
        space to its deformed position in the same space. */
    void getDeformerMatrix(Matrix &matrix) const;

    /*! Sets "node" (as one recorded edit), taking a reference to the new node. */
    void setNode(const FieldContainerPtr &node);

    /*! The node as a scene node; NullFC when "node" holds anything else. */
    NodePtr getJointNode(void) const;

    const Matrix &getGeoBindPoseInverse (void) const { return _geoBindPoseInv;  }
    const Matrix &getNodeBindPoseInverse(void) const { return _nodeBindPoseInv; }
    const Matrix &getJointSpaceMatrix   (void) const { return _jointSpace;      }

    /*! Recomputes J from the stored inverses and geoBindPose. */
    void updateJointSpaceMatrix(void);

    /*! The box of the influenced vertices in the bind pose, as the owner of the geometry set it
        (empty until then). */
    void             setBindPoseVolume(const BoxVolume &volume) { _bindPoseVolume = volume; }
    const BoxVolume &getBindPoseVolume(void) const              { return _bindPoseVolume;   }

    void changed(BitVector whichField, UInt32 origin) override;
    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = BitVector(0)) const override;

  protected:
    friend class FieldContainer;
    friend class DeformerClusterBase;

    DeformerCluster(void);
    DeformerCluster(const DeformerCluster &source);
    ~DeformerCluster(void) override;

    void onCreate(const DeformerCluster *source = NULL);
    void onDestroy(void) override;

  private:
    void updateGeoBindPoseInverse (void);
    void updateNodeBindPoseInverse(void);

    Matrix    _geoBindPoseInv;
    Matrix    _nodeBindPoseInv;
    Matrix    _jointSpace;
    BoxVolume _bindPoseVolume;
};

} // namespace osg

#endif
