// SPDX-License-Identifier: MIT
#include "app/ControlIds.h"

#include <gmock/gmock.h>

#include <numeric>
#include <vector>

TEST(ControlIds, OfTheMainWindowRunFrom5432Upward) {
    const std::vector<int> ids = {ID_RELOAD,         ID_PERS_CHANGE, ID_PERS_PUK,      ID_PERS_SHOW,
                                  ID_ENC_CHANGE_PIN, ID_ENC_PUK,     ID_ENC_SHOW,      ID_ENC_TEST,
                                  ID_SIG_CHANGE_PIN, ID_SIG_PUK,     ID_SIG_SHOW_CERT, ID_SIG_TEST,
                                  ID_START_TIMER,    ID_FADE_TIMER,  ID_CARD_LIST};
    std::vector<int> expected(ids.size());
    std::iota(expected.begin(), expected.end(), 5432);
    EXPECT_EQ(ids, expected);
}

TEST(ControlIds, OfTheWorkerAndTheContextMenuRunFrom5453To5464) {
    const std::vector<int> ids = {ID_THREAD_FINISHED,   ID_POPUP_ENC_CHANGE, ID_POPUP_SIG_CHANGE,
                                  ID_POPUP_PERS_CHANGE, ID_POPUP_ENC_PUK,    ID_POPUP_SIG_PUK,
                                  ID_POPUP_PERS_PUK,    ID_POPUP_ENC_SHOW,   ID_POPUP_SIG_SHOW,
                                  ID_POPUP_INFOBOX,     ID_POPUP_ENC_TEST,   ID_POPUP_SIG_TEST};
    std::vector<int> expected(ids.size());
    std::iota(expected.begin(), expected.end(), 5453);
    EXPECT_EQ(ids, expected);
}

TEST(ControlIds, OfTheDialogsStandBetweenAndBehindThose) {
    EXPECT_THAT((std::vector<int>{ID_TEST_CLOSE, ID_TEST_SIGN, ID_TEST_VERIFY}),
                testing::ElementsAre(5447, 5448, 5449));
    EXPECT_THAT((std::vector<int>{ID_INFOBOX_CLOSE, ID_INFOBOX_LIST, ID_INFOBOX_ENCRYPT}),
                testing::ElementsAre(5450, 5451, 5452));
    EXPECT_THAT((std::vector<int>{ID_NOPERSB_WRITE, ID_NOPERSB_CLOSE}), testing::ElementsAre(5465, 5466));
}
