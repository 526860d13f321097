// SPDX-License-Identifier: MIT
#include "foundation/XmlNesting.h"

#include <gtest/gtest.h>

using Velmor::XmlNestsDeeperThan;

namespace {

std::string Repeated(const std::string& text, int times) {
    std::string all;
    for (int time = 0; time < times; ++time) {
        all += text;
    }
    return all;
}

/// The depth of a text, by asking for each.
int DepthOf(const std::string& text) {
    int levels = 0;
    while (XmlNestsDeeperThan(levels, text)) {
        ++levels;
    }
    return levels;
}

} // namespace

TEST(XmlNesting, CountsElementsInsideEachOther) {
    struct Row {
        const char* m_Text;
        int m_Depth;
    };
    for (const Row& row : {
             Row{"", 0},
             Row{"text", 0},
             Row{"<a/>", 1},
             Row{"<a></a>", 1},
             Row{"<a><b/><b></b></a>", 2},
             Row{"<a><b><c/></b><d/></a>", 3},
             Row{"<a", 0},
             Row{"<?xml version=\"1.0\"?>\n<a><b/></a>", 2},
             Row{"<a x=\"<b><c>\"><d/></a>", 2},
             Row{"<a x='</a>' y = \"'\"><d/></a>", 2},
             Row{"<a x=\"/>\"><d/></a>", 2},
             Row{"<a'><b'></b'></a'>", 2}, // a quote is a character of the name
             Row{"<a x'y=\"'\"><d/></a>", 2},
             Row{"<a=b><c<d!/></a=b>", 2}, // and so are these
             Row{"<a><!-- <b><c> --><d/></a>", 2},
             Row{"<a><!-- </a></a> --><d/></a>", 2},
             Row{"<a><![CDATA[</a><b>]]><d/></a>", 2},
             Row{"<a><?p </a></a> ?><d/></a>", 2},
             Row{"<!DOCTYPE a [<!ELEMENT b> </a> ]><a><d/></a>", 2},
             Row{"<!DOCTYPE a [ [ ] > ] ><a/>", 1},
             Row{"<!DOCTYPE a ]><b><c/></b>", 2},  // a bracket that closes nothing
             Row{"<!DOCTYPE a [><b/>", 0},         // one that nothing closes
             Row{"<a><!DOCTYPEx [ > <b/></a>", 2}, // without a blank it ends at the first ">"
             Row{"<a><!other [ > <b/></a>", 2},
             Row{"<a ><b\n/></a\t>", 2},
         }) {
        EXPECT_EQ(row.m_Depth, DepthOf(row.m_Text)) << row.m_Text;
    }
}

TEST(XmlNesting, EndsAtMarkupThatNoParserTakes) {
    for (const char* text :
         {"<a x><b><c>", "<a x=y><b><c>", "<a \"x\"><b><c>", "<a / ><b><c>", "<a ?><b><c>"}) {
        EXPECT_EQ(0, DepthOf(text)) << text;
    }
}

TEST(XmlNesting, IsNotHiddenByWhatLooksLikeAnEnd) {
    for (const char* level :
         {"<a>", "<a'>", "<a x='\"'>", "<a><!--</a>-->", "<a><![CDATA[</a>]]>", "<a><?</a>?>",
          "<a><!DOCTYPE x [</a>]>", "<a x='</a>'>", "<a><b/>", "<a=b>", "<a<b>", "<a!>"}) {
        EXPECT_TRUE(XmlNestsDeeperThan(1000, Repeated(level, 1001))) << level;
        EXPECT_FALSE(XmlNestsDeeperThan(1001, Repeated(level, 1000))) << level;
    }
}
