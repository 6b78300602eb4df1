#ifndef SK_PLATFORM_SKSCENEDATA_H
#define SK_PLATFORM_SKSCENEDATA_H

#include <OpenSG/OSGNode.h>

#include <atomic>

/*! The host's scene data: its root node, its frame rate and a change stamp that the host
    advances whenever the scene changes.

    Root ownership: the scene data holds one reference to its root, taken by setRoot and given
    back when the root is replaced or cleared (setRoot(NullFC)), so that a root it reports is
    always alive. The host clears it before osgExit; a root left set is simply kept until the
    process ends. Root and frame rate are set by the host's main thread.

    Change stamp: 64 bits, starting at 0, only ever advanced; every operation on it is atomic, so
    that readers on other threads (skinning) see a consistent value and one change is processed
    once (claimChange). */
class skSceneData
{
  public:
    skSceneData(void);
    ~skSceneData(void);

    skSceneData(const skSceneData &) = delete;
    skSceneData &operator=(const skSceneData &) = delete;

    /*------------------------- root ---------------------------------------*/
    const osg::NodePtr &getRoot(void) const { return _root; }
    /*! Takes a reference to the new root and releases the old one. */
    void setRoot(const osg::NodePtr &root);

    /*------------------------- frame rate ---------------------------------*/
    /*! Frames per second; 0 when the host has not set one. */
    osg::Real32 getFrameRate(void) const;
    /*! Negative, infinite and NaN rates are warned about and ignored. */
    void setFrameRate(osg::Real32 framesPerSecond);

    /*------------------------- change stamp -------------------------------*/
    osg::UInt64 getChangeStamp(void) const;
    /*! Advances the stamp by one; the new value, unique to this call. */
    osg::UInt64 advanceChangeStamp(void);
    /*! Sets the stamp to desired if it equals expected (true); otherwise expected receives the
        current stamp (false). */
    bool compareExchangeChangeStamp(osg::UInt64 &expected, osg::UInt64 desired);

    /*! For a consumer that keeps the last stamp it processed in lastSeen: moves lastSeen up to
        the current stamp and answers true when it was behind, so that of several threads asking
        about the same change exactly one is told to process it. False when lastSeen is already
        at (or, set by someone else, beyond) the current stamp. */
    bool claimChange(std::atomic<osg::UInt64> &lastSeen) const;

  private:
    osg::NodePtr              _root;
    std::atomic<osg::Real32>  _frameRate;
    std::atomic<osg::UInt64>  _changeStamp;
};

/*! Access to the host's scene data. */
class skSceneDataManager
{
  public:
    /*! The process-wide scene data, created on first use and never destroyed (static objects
        of other libraries may still ask for it while the process ends). */
    static skSceneData *getSceneData(void);

    skSceneDataManager(void) = delete;
};

#endif
