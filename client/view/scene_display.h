#pragma once

#include "client/view/geometry.h"

namespace Mardu::Sentel::Tavlo::Client::View {

/// The window's parts, to whoever changes the scene that they show.
class SceneDisplay
{
public:
    /// Takes in all of the image as it is now.
    virtual void RepaintPicture() = 0;
    /// Takes in these pixels of the image only.
    virtual void RepaintPicture(const Rectangle& pixels) = 0;
    /// Shows at once what was taken in.
    virtual void ShowPicture() = 0;
    /// Draws marks and lists again, and takes in nothing.
    virtual void RedrawMarks() = 0;
    virtual void RedrawPanel() = 0;
    virtual void RefreshStatus() = 0;
    /// The scene's levels and ramp are those that the next repainting is to use.
    virtual void ApplyTone() = 0;

protected:
    ~SceneDisplay() = default;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
