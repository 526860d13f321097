// SPDX-License-Identifier: MIT
#ifndef ORSEL_APP_CONTROLIDS_H
#define ORSEL_APP_CONTROLIDS_H

/// Ids of all controls and events. The event tables and the context menu hang on the numbers. Windows of
/// their own may use the same timer ids.
enum ControlId : int {
    // Main window
    ID_RELOAD = 5432,
    ID_PERS_CHANGE = 5433,
    ID_PERS_PUK = 5434,
    ID_PERS_SHOW = 5435,
    ID_ENC_CHANGE_PIN = 5436,
    ID_ENC_PUK = 5437,
    ID_ENC_SHOW = 5438,
    ID_ENC_TEST = 5439,
    ID_SIG_CHANGE_PIN = 5440,
    ID_SIG_PUK = 5441,
    ID_SIG_SHOW_CERT = 5442,
    ID_SIG_TEST = 5443,
    ID_START_TIMER = 5444,
    ID_FADE_TIMER = 5445,
    ID_CARD_LIST = 5446,

    // Signature test; its fade timer is ID_FADE_TIMER
    ID_TEST_CLOSE = 5447,
    ID_TEST_SIGN = 5448,
    ID_TEST_VERIFY = 5449,

    // Infobox; the timer that starts its loading is ID_START_TIMER
    ID_INFOBOX_CLOSE = 5450,
    ID_INFOBOX_LIST = 5451,
    ID_INFOBOX_ENCRYPT = 5452,

    // Main window again
    ID_THREAD_FINISHED = 5453, ///< posted by the refresh worker when it is done

    // Context menu of the card list
    ID_POPUP_ENC_CHANGE = 5454,
    ID_POPUP_SIG_CHANGE = 5455,
    ID_POPUP_PERS_CHANGE = 5456,
    ID_POPUP_ENC_PUK = 5457,
    ID_POPUP_SIG_PUK = 5458,
    ID_POPUP_PERS_PUK = 5459,
    ID_POPUP_ENC_SHOW = 5460,
    ID_POPUP_SIG_SHOW = 5461,
    ID_POPUP_INFOBOX = 5462,
    ID_POPUP_ENC_TEST = 5463,
    ID_POPUP_SIG_TEST = 5464,

    // Card without identity link
    ID_NOPERSB_WRITE = 5465,
    ID_NOPERSB_CLOSE = 5466,
};

#endif
