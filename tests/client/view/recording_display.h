#pragma once

#include "client/view/scene_display.h"

#include <string>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// Writes down what it is told, and shows nothing.
class RecordingDisplay final : public SceneDisplay
{
public:
    void RepaintPicture() override { ++repaints; }
    void RepaintPicture(const Rectangle& pixels) override { parts.push_back(pixels); }
    void ShowPicture() override { ++shows; }
    void RedrawMarks() override { ++markDrawings; }
    void RedrawPanel() override { ++panelDrawings; }
    void RefreshStatus() override { ++statusDrawings; }
    void ApplyTone() override { ++tones; }

    std::vector<Rectangle> parts;
    int repaints = 0;
    int shows = 0;
    int markDrawings = 0;
    int panelDrawings = 0;
    int statusDrawings = 0;
    int tones = 0;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
