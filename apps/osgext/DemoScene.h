#ifndef SKOSG_APPS_OSGEXT_DEMOSCENE_H
#define SKOSG_APPS_OSGEXT_DEMOSCENE_H

#include <iosfwd>
#include <string>
#include <vector>

namespace osgext {

// What the scene part of the demo found, for the summary.
struct SceneReport
{
    unsigned    nodes = 0;
    unsigned    shells = 0;
    unsigned    goodMask = 0, brokenMask = 0;
    std::string brokenMessage;
    unsigned    cachedMatrices = 0;
    std::string wheelOrigin;
    std::vector<std::string> variantSteps;   // "<variant> -> <active index>"
    std::vector<std::string> switchSteps;    // "choice <n> <translation>"
};

// Builds a small named scene and runs the scene utilities, transform variants and the switch
// component transform on it; false (explained on err) when a result is not what the rules give.
bool runSceneDemo(std::ostream &out, std::ostream &err, SceneReport &report);

} // namespace osgext

#endif
