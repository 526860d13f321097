// SPDX-License-Identifier: MIT
#ifndef ORSEL_VIEWER_VIEWERIDS_H
#define ORSEL_VIEWER_VIEWERIDS_H

/// Ids of the certificate window's controls. It is a program of its own, so they may be any.
enum ViewerId : int {
    ID_VIEWER_ROWS = 6000,
    ID_VIEWER_PAGES = 6001,
    ID_VIEWER_COPY_ROW = 6002,
    ID_VIEWER_COPY_VALUE = 6003,
    ID_VIEWER_COPY_ALL = 6004,
    ID_VIEWER_SAVE = 6005,
    ID_VIEWER_CLOSE = 6006,
};

#endif
