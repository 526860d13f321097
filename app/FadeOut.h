// SPDX-License-Identifier: MIT
#ifndef ORSEL_APP_FADEOUT_H
#define ORSEL_APP_FADEOUT_H

#include <wx/colour.h>
#include <wx/image.h>

/// The arithmetic of a message that fades away, text and icon together. Knows nothing of windows.
class FadeOut {
public:
    /// 100 steps, invalid colours, no icon.
    FadeOut() = default;

    /// Starts over at step 0. from is the text's own colour, to the background; an icon without an alpha
    /// plane gets one.
    void Init(wxColour from, wxColour to, wxImage image, int steps);

    /// One step on, never beyond the last.
    void NextStep();
    bool Finished() const;
    /// Share of the way that is done, 0 to 1.
    float GetModifier() const;

    /// Colour of the text at this step: the channels' differences between both colours, scaled. The start
    /// colour is not added: black text, the usual one, ends in the background, other text does not.
    wxColour GetColour();

    /// The icon at this step. All pixels that were not wholly transparent share one alpha.
    wxImage GetImage();

private:
    int m_step = 0;
    int m_steps = 100;
    wxColour m_from;
    wxColour m_to;
    wxImage m_image;
};

#endif
