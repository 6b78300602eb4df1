#ifndef SK_PLATFORM_SKSCENECHANGES_H
#define SK_PLATFORM_SKSCENECHANGES_H

/*! The host's account of what changed in the scene between two change stamps. Consumers that
    are handed one may use it to narrow their work; a null pointer is the normal case and means
    "no account: look at the scene itself". The library's consumers (skinning) always look at the
    scene itself, so they accept the pointer for the host's interface and read nothing from it;
    its contents are the host's. */
class SceneChanges;

#endif
