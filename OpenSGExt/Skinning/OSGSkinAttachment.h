#ifndef _OSGSKINATTACHMENT_H_
#define _OSGSKINATTACHMENT_H_

#include <OpenSGExt/OSGSkinAttachmentBase.h>
#include <OpenSGExt/OSGDeformerCluster.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGBoxVolume.h>
#include <OpenSG/OSGDynamicVolume.h>
#include <platform/skSceneChanges.h>

#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <vector>

class skMatrixCache;

namespace osg {

/*! Linear blend skinning of the Geometry that carries this attachment (its first parent that is
    a Geometry), by the joints in "joints", with at most four influences per vertex.

    Vertices are the geometry's position indices; the geometry must have 3-float positions and
    3-float normals of equal count to be deformed.

    Influences (updateIndicesAndWeights): per vertex the four heaviest (joint, weight) pairs of
    all joints that list it, ordered by weight (largest first; equal weights by lower joint index
    first; NaN weights last), renormalised to sum 1 unless their sum is 0 (then kept, and
    reported once per change). A vertex that no joint lists follows joint 0 with weight 1. The
    result does not depend on the thread count. Entries past the vertex count, null joints and a
    skin without geometry are reported and leave "jointIndices" and "skinWeights" untouched.

    Deformation: blended matrix M = sum of w_k * D[j_k]; position M * (p, 1), normal the inverse
    transpose of M applied to n, not renormalised. Deformer matrices are affine (products of the
    scene's and the bind poses' affine matrices), so the upper 3x4 part of M is used; the
    positions and normals of every vertex go through the same code, so the output is bit for bit
    the same for any thread count. Joint indices that are out of range (edited by hand) are
    reported and yield no deformation.

    Ownership of "joints": addJoint takes one reference per cluster, removeJoint and clearJoints
    give it back, destruction gives back all. A shallow copy takes its own references. Reading the
    field from a stream or synchronising it takes none; a loader that ends its edit with the
    origin Abstract|AbstrIncRefCount makes the skin take them then. Editing the field through the
    generated accessor leaves the references to the caller.

    Registry (static, one thread edits it, usually the host's main thread):
    - deformers: the skins that updateAllDeformers updates, in registration order. A skin
      registers itself when it is attached to a geometry and leaves on destruction; addDeformer /
      deleteDeformer do the same by hand (both idempotent).
    - influencers: per cluster (by container id) the set of skins (by container id) that use it.
      A skin records its joints whenever "joints" changes; a cluster that changes its weights
      marks the influences of those skins stale, and a destroyed cluster forgets its record
      (deleteInfluencer). A destroyed skin is taken out of every record.

    Threads: update, updateDeformerMatrices, getDeformedVertices and updateAllDeformers may be
    called from several threads at once for the same skin. One mutex per skin guards the deformer
    matrices and the vertex caches; the scene change stamp is claimed atomically, so that of
    concurrent update(false) calls for one scene change exactly one does the work. Field edits,
    joint and registry changes belong to one thread and must not overlap the calls above.

    Volume: the joint-volume box holds every deformed position. Per joint it is the box of the
    eight corners of the joint's bind-pose box (the positions it drives) mapped by its deformer
    matrix; their union bounds every convex blend of them. Vertices whose weights are not a convex
    blend (a negative weight, a zero sum) are added by their deformed positions. A small margin
    covers rounding. The geometry's volume callbacks (installed when the skin is attached) hand
    this box to the geometry, recomputed whenever the matrices changed. */
class SkinAttachment : public SkinAttachmentBase
{
  public:
    typedef SkinAttachmentBase Inherited;

    /*------------------------- per frame ----------------------------------*/
    /*! Claims the current scene change stamp; returns false without work if it was already
        processed and force is false. Otherwise brings the influences up to date (when stale, or
        always with force) and returns the result of updateDeformerMatrices. changes may be
        null (it is not read). */
    bool update(bool force, SceneChanges *changes = NULL);

    /*! Rewrites "jointIndices" and "skinWeights" from the joints' weight lists (one recorded
        edit); false (reported, fields untouched) for bad input. */
    bool updateIndicesAndWeights(void);

    /*! Recomputes the deformer matrices from the joints' world matrices (fresh matrix cache);
        a joint without node, or whose node is inactive, keeps the identity. When any matrix
        differs bit for bit from the stored one, stores them, marks them dirty, invalidates the
        geometry's volume and recomputes the joint volume. Returns whether anything changed. */
    bool updateDeformerMatrices(void);

    /*! Deforms if the matrices are dirty and hands out the cached positions and normals (one
        per position of the geometry); leaves both pointers untouched if there is nothing to hand
        out. The arrays stay valid until the next deformation or clearData. */
    void getDeformedVertices(const Pnt3f *&positions, const Vec3f *&normals);

    GeometryPtr getGeometry(void) const;
    /*! True if the geometry carries an attachment of this type; false for NullFC. */
    static bool hasSkinning(const GeometryPtr &geo);

    bool getDeformerMatricesDirty(void) const;
    void setDeformerMatricesDirty(bool dirty);

    /*! Copies the current deformer matrices (one per joint; empty before the first update). */
    void getDeformerMatrices(std::vector<Matrix> &matrices) const;

    /*! Drops the derived per-vertex data ("jointIndices", "skinWeights", one recorded edit) and
        the matrices and caches, so that the next update starts afresh. */
    void clearData(void);

    /*------------------------- joints -------------------------------------*/
    /*! Appends a joint (its index is the previous count) and takes a reference; NullFC is
        refused with a warning. */
    bool addJoint(const DeformerClusterPtr &cluster);
    /*! Removes the joint at index and gives back its reference; later joints move down. */
    bool removeJoint(UInt32 index);
    void clearJoints(void);

    /*------------------------- renumbering --------------------------------*/
    /*! After the geometry's vertices were renumbered: the joints' entries for oldIndices[i] move
        to newIndices[i], for i < count. An old index listed several times is copied to each of
        its new indices (a vertex split); of several old indices going to one new index, only the
        smallest keeps its entries (a merge). With replace, entries whose
        old index is not listed are dropped (a complete renumbering); without, they stay as they
        are. Each changed cluster is one recorded edit. Null arrays with a count are refused. */
    bool remapIndices(const UInt32 *oldIndices, UInt32 count, const UInt32 *newIndices, bool replace);
    /*! The same from an old-to-new map, keeping entries whose index is not a key. */
    bool remapIndices(const std::map<UInt32, UInt32> &oldToNew);

    /*------------------------- volume -------------------------------------*/
    /*! Geometry callbacks: drop the skin's volume, and supply it (an empty volume when the
        geometry has no skin). */
    static void invalidateVolumeCacheCB(const GeometryPtr &geo);
    static void getVolumeCacheCB(const GeometryPtr &geo, DynamicVolume &volume);
    /*! Computes the joint-volume box (see above) from the joints' world matrices, taken from
        cache (a fresh cache when NULL); volume is emptied first. */
    void updateJointVolumes(BoxVolume &volume, skMatrixCache *cache);
    /*! The joint-volume box computed by the last update of the matrices. */
    BoxVolume getJointVolume(void) const;

    /*------------------------- registry -----------------------------------*/
    static void addDeformer   (const SkinAttachmentPtr &skin);
    static void deleteDeformer(const SkinAttachmentPtr &skin);
    /*! Records that the cluster influences the skin with container id skinId. */
    static void addInfluencer   (const DeformerClusterPtr &cluster, UInt32 skinId);
    /*! Forgets the record of the cluster with this container id. */
    static void deleteInfluencer(std::size_t clusterId);
    /*! The skins that the cluster influences. */
    static std::set<SkinAttachmentPtr> getInfluencerTargets(const DeformerClusterPtr &cluster);
    /*! The registered skins, in registration order. */
    static std::vector<SkinAttachmentPtr> getDeformers(void);
    /*! Updates every registered skin in parallel (update(force)); true if any changed. An
        exception of one skin is reported and does not stop the others. */
    static bool updateAllDeformers(bool force);

    /*------------------------- threads ------------------------------------*/
    /*! Runs the skins' parallel work (influences, deformation, updateAllDeformers) on at most
        this many threads; 0 returns to TBB's default. Set it while no skinning runs. */
    static void   setConcurrency(UInt32 threads);
    static UInt32 getConcurrency(void);

    /*------------------------- container ----------------------------------*/
    void changed(BitVector whichField, UInt32 origin) override;
    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = BitVector(0)) const override;

    /*! Marks the influences stale (the registry calls it when a joint's weights change). */
    void invalidateInfluences(void);

  protected:
    friend class FieldContainer;
    friend class SkinAttachmentBase;

    SkinAttachment(void);
    SkinAttachment(const SkinAttachment &source);
    ~SkinAttachment(void) override;

    void onCreate(const SkinAttachment *source = NULL);
    void onDestroy(void) override;

  private:
    struct Runtime;

    bool updateIndicesAndWeightsImpl(void);
    bool claimUpdate(bool force);
    bool computeMatrices(skMatrixCache &cache, std::vector<Matrix> &out) const;
    bool storeMatrices(const std::vector<Matrix> &fresh);
    void invalidateGeometryVolume(void);
    void computeJointVolume(const Matrix *matrices, std::size_t count, BoxVolume &volume);
    void recordInfluencers(void);
    void attachToGeometry(void);

    std::unique_ptr<Runtime> _rt;
};

} // namespace osg

#endif
