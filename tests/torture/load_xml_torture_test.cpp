// SPDX-License-Identifier: MIT
//
// A dictionary in XML form with its n-th allocation refused, for every n until none
// was, and damaged at every byte: it loads or fails with its error, and nothing stays
// allocated.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "host/memory.h"
#include "tests/support/dictionary_file.h"
#include "tests/support/print_xfd.h"
#include "tests/torture/refused_loads.h"

namespace {

using support::file_error;
using support::OwnedXfd;

std::string document(const std::string &organization, const std::string &keys) {
    return "<?xml version=\"1.0\"?>\n<!DOCTYPE a>\n<a>\n<!-- a comment -->"
           "<xfd:identification xfd:version='8'><xfd:select-name>CLIENT</xfd:select-name>"
           "<xfd:table-name>CLIENT</xfd:table-name><xfd:file-organization>" +
           organization +
           "</xfd:file-organization><xfd:cobol-trigger>TRIG</xfd:cobol-trigger>"
           "<xfd:maximum-record-size>40</xfd:maximum-record-size>" +
           keys +
           "<xfd:conditions xfd:condition-count='2'><xfd:condition xfd:condition-number='1'>"
           "<xfd:condition-comparison>eq</xfd:condition-comparison>"
           "<xfd:condition-variable>KIND</xfd:condition-variable>"
           "<xfd:condition-value>\"A\"</xfd:condition-value></xfd:condition>"
           "<xfd:condition xfd:condition-number='2'>"
           "<xfd:condition-comparison>and</xfd:condition-comparison>"
           "<xfd:condition-and-1>1</xfd:condition-and-1>"
           "<xfd:condition-and-2>1</xfd:condition-and-2></xfd:condition></xfd:conditions>"
           "<xfd:fields xfd:elementary-items='3' xfd:elementary-items-with-occurs='6' "
           "xfd:total-items='3' xfd:total-items-with-occurs='6'>"
           "<xfd:field xfd:field-offset='0' xfd:field-bytes='5' xfd:field-type='1' "
           "xfd:field-length='5' xfd:field-scale='0' xfd:field-user-flags='0' "
           "xfd:field-condition='0' xfd:field-level='1' xfd:field-name='ID' "
           "xfd:field-is-identity='true'/>"
           "<xfd:field xfd:field-offset='5' xfd:field-bytes='1' xfd:field-type='16' "
           "xfd:field-length='1' xfd:field-scale='0' xfd:field-user-flags='0' "
           "xfd:field-condition='0' xfd:field-level='1' xfd:field-name='KIND'/>"
           "<xfd:field-occurs xfd:occurs-count='2' xfd:occurs-size='8' "
           "xfd:occurs-subtable='SUB'><xfd:field-occurs xfd:occurs-count='2' "
           "xfd:occurs-size='4'>"
           "<xfd:field xfd:field-offset='6' xfd:field-bytes='4' xfd:field-type='1' "
           "xfd:field-length='4' xfd:field-scale='0' xfd:field-user-flags='1' "
           "xfd:field-condition='0' xfd:field-level='1' xfd:field-name='WHEN' "
           "xfd:field-date-format='YYMM' xfd:field-null-value='0000'/>"
           "</xfd:field-occurs></xfd:field-occurs></xfd:fields></a>\n";
}

const std::string kIndexed =
    document("Indexed",
             "<xfd:number-of-keys>1</xfd:number-of-keys></xfd:identification>"
             "<xfd:keys><xfd:key xfd:segment-count='1' xfd:duplicates-allowed='true'>"
             "<xfd:segments><xfd:segment xfd:segment-size='5' xfd:segment-offset='0'/>"
             "</xfd:segments><xfd:key-columns xfd:key-column-count='1'>"
             "<xfd:key-column xfd:key-column-name='ID'/></xfd:key-columns></xfd:key></xfd:keys>");
const std::string kRelative = document("Relative", "</xfd:identification>");

class LoadXmlTorture : public torture::RefusedLoads {
 protected:
    // A damaged document loads, or fails with one of the errors of this form.
    void load_damaged(const std::string &text, uint32_t flags) {
        const OwnedXfd xfd = load(text, flags);
        const std::string error = file_error();
        if (xfd != nullptr)
            EXPECT_EQ(error, "0 0 0 null");
        else
            EXPECT_TRUE(error.starts_with("19 2 0 'XFD file '" + path() + "', ") ||
                        error.starts_with("19 5 0 'XFD file '" + path() + "', line ") ||
                        error.starts_with("19 1 0 'Read error on XFD file, error = 0'"))
                << error;
    }
};

TEST_F(LoadXmlTorture, EveryRefusalFailsTheLoadOrIsMadeUpFor) {
    folder_.write("file.xfd", kIndexed);
    EXPECT_GT(refuse_each(0, "plain"), 30);
    EXPECT_GT(refuse_each(XFD_LOAD_COMMENTS, "comments"), 30);
    EXPECT_GT(refuse_each(XFD_LOAD_COPY_OCCURS, "copies"), 30);
    folder_.write("file.xfd", kRelative);
    EXPECT_GT(refuse_each(XFD_LOAD_RELATIVE_KEY | XFD_LOAD_LISTED_VIEW, "relative"), 30);
}

TEST_F(LoadXmlTorture, EveryCutIsRefused) {
    const size_t before = ZMemoryBlocks(nullptr);
    for (size_t length = 0; length + 2 < kIndexed.size(); ++length) {
        SCOPED_TRACE(length);
        load_damaged(kIndexed.substr(0, length), length % 32);
        EXPECT_NE(*Zstdlib_f_errno(), 0);
    }
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
}

TEST_F(LoadXmlTorture, EveryChangedByteIsRefusedOrReadAsItStands) {
    const size_t before = ZMemoryBlocks(nullptr);
    for (const std::string &text : {kIndexed, kRelative}) {
        for (size_t at = 0; at < text.size(); ++at) {
            for (const char byte : {'\0', '<', '>', '\'', '-', '9', ' ', '\xFF'}) {
                SCOPED_TRACE(std::to_string(at) + " becomes " +
                             std::to_string(static_cast<unsigned char>(byte)));
                std::string changed = text;
                changed[at] = byte;
                load_damaged(changed, at % 32);
            }
        }
    }
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
}

TEST_F(LoadXmlTorture, EveryPieceLeftOutIsRefusedOrReadWithoutIt) {
    const size_t before = ZMemoryBlocks(nullptr);
    for (const size_t size : {1, 7, 40, 200}) {
        for (size_t at = 0; at < kIndexed.size(); at += 1 + size / 8) {
            SCOPED_TRACE(std::to_string(at) + ", " + std::to_string(size) + " bytes");
            load_damaged(std::string(kIndexed).erase(at, size), at % 32);
        }
    }
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
}

}  // namespace
