// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/locate.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "host/messages.h"
#include "tests/support/dictionary_file.h"
#include "tests/support/print_xfd.h"

namespace {

using support::file_error;
using support::OwnedXfd;

constexpr const char *kDictionary = "XFD,3,C,C\n9,9,0\n0\n0\n";

class Locate : public support::DictionaryTest {
 protected:
    ~Locate() override {
        ZOutputRedirect(1, nullptr, nullptr);
        f_trace = 0;
        ZCSetValueString("XFD_PREFIX", nullptr);
        ZCSetValueString("XFD_MAP", nullptr);
    }

    void listen() {
        f_trace = 1;
        trace_.clear();
        ZOutputRedirect(
            1,
            [](const char *text, size_t n, void *user) {
                static_cast<std::string *>(user)->append(text, n);
            },
            &trace_);
    }
    // The files tried, in order, without the folder of the test.
    std::string attempts() const {
        const std::string start = "Attempting to open XFD file '";
        std::string out;
        for (size_t at = trace_.find(start); at != std::string::npos; at = trace_.find(start, at)) {
            at += start.size();
            std::string tried = trace_.substr(at, trace_.find('\'', at) - at);
            if (tried.starts_with(folder_.path()))
                tried = tried.substr(folder_.path().size() + 1);
            out += tried + '\n';
        }
        return out;
    }
    // The path found, without the folder of the test, or the error.
    std::string find(const std::string &name) {
        const OwnedXfd xfd(Z4ParseXFD(name.c_str(), 0, 30));
        if (xfd == nullptr)
            return file_error();
        const std::string path = xfd->x_filename;
        return path.starts_with(folder_.path()) ? path.substr(folder_.path().size() + 1) : path;
    }

    std::string trace_;
};

TEST_F(Locate, TriesThreeFormsWithTwoSuffixes) {
    listen();
    EXPECT_EQ(find("/some/where/My-File"),
              "19 3 2 'Unable to open XFD file for '/some/where/My-File', error = 2'");
    EXPECT_EQ(attempts(),
              "my_file.xfd\nmy_file.XFD\nMy-File.xfd\nMy-File.XFD\nMY_FILE.xfd\n"
              "MY_FILE.XFD\n");
}

TEST_F(Locate, FirstFileThatOpensIsTaken) {
    const char *in_order[] = {"MY_FILE.XFD", "MY_FILE.xfd", "My-File.XFD",
                              "My-File.xfd", "my_file.XFD", "my_file.xfd"};
    for (const char *name : in_order) {
        folder_.write(name, kDictionary);
        EXPECT_EQ(find("data/My-File"), name);
    }
}

TEST_F(Locate, ExtensionStaysPartOfTheName) {
    folder_.write("client.dat.xfd", kDictionary);
    EXPECT_EQ(find("/x/y/CLIENT.DAT"), "client.dat.xfd");
}

TEST_F(Locate, WorkingDirectoryServesWhenNoneIsSet) {
    ZCSetValueString("XFD_DIRECTORY", nullptr);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.path());
    folder_.write("client.XFD", kDictionary);
    EXPECT_EQ(find("/x/y/client"), "./client.XFD");
    folder_.write("client.xfd", kDictionary);
    EXPECT_EQ(find("/x/y/client"), "./client.xfd");
    std::filesystem::current_path(before);
}

TEST_F(Locate, DirectoryMayEndInASeparatorOrBeEmpty) {
    folder_.write("client.xfd", kDictionary);
    ZCSetValueString("XFD_DIRECTORY", (folder_.path() + '/').c_str());
    EXPECT_EQ(find("client"), "client.xfd");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.path());
    ZCSetValueString("XFD_DIRECTORY", "");
    EXPECT_EQ(find("client"), "client.xfd");
    std::filesystem::current_path(before);
}

TEST_F(Locate, DirectoryOfThatNameIsPassedOver) {
    std::filesystem::create_directory(folder_.path("client.xfd"));
    folder_.write("client.XFD", kDictionary);
    EXPECT_EQ(find("client"), "client.XFD");
}

TEST_F(Locate, NameMapRenamesEveryForm) {
    fsi_init_cfg();
    ZCSetValueString("XFD_MAP", "client*=clients,CLIENT*=shouted");
    listen();
    find("Client-A");
    EXPECT_EQ(attempts(),
              "clients.xfd\nclients.XFD\nClient-A.xfd\nClient-A.XFD\nCLIENT_A.xfd\n"
              "CLIENT_A.XFD\n")
        << "patterns are lower case: they are normalised when they are set";
    folder_.write("clients.xfd", kDictionary);
    EXPECT_EQ(find("/x/client-of-ours.dat"), "clients.xfd");
}

TEST_F(Locate, PrefixListIsSearchedInOrder) {
    folder_.write("two/client.xfd", kDictionary);
    folder_.write("three/client.xfd", kDictionary);
    ZCSetValueString("XFD_DIRECTORY", "earlier text");
    ZCSetValueString(
        "XFD_PREFIX",
        (folder_.path("one") + ':' + folder_.path("two") + ':' + folder_.path("three")).c_str());
    listen();
    EXPECT_EQ(find("client"), "two/client.xfd");
    EXPECT_EQ(attempts(),
              "one/client.xfd\none/client.XFD\none/client.xfd\none/client.XFD\n"
              "one/CLIENT.xfd\none/CLIENT.XFD\ntwo/client.xfd\n");
    EXPECT_STREQ(ZCGetValueString("XFD_DIRECTORY"), "earlier text");

    EXPECT_EQ(find("nobody"), "19 3 2 'Unable to open XFD file for 'nobody', error = 2'");
    EXPECT_STREQ(ZCGetValueString("XFD_DIRECTORY"), "earlier text");
}

TEST_F(Locate, DirectoryThatWasUnsetIsUnsetAfterwards) {
    ZCSetValueString("XFD_DIRECTORY", nullptr);
    ZCSetValueString("XFD_PREFIX", folder_.path("one").c_str());
    find("client");
    EXPECT_EQ(ZCGetValueString("XFD_DIRECTORY"), nullptr);

    ZCSetValueString("XFD_DIRECTORY", "");
    find("client");
    EXPECT_STREQ(ZCGetValueString("XFD_DIRECTORY"), "");
}

TEST_F(Locate, LongDirectoryIsRestoredToItsFirst255Characters) {
    ZCSetValueString("XFD_DIRECTORY", std::string(300, 'd').c_str());
    ZCSetValueString("XFD_PREFIX", folder_.path("one").c_str());
    find("client");
    EXPECT_EQ(ZCGetValueString("XFD_DIRECTORY"), std::string(255, 'd'));
}

// Directory, name and suffix of 259 characters pass; the separator comes on top.
TEST_F(Locate, PathsHaveRoomFor260Characters) {
    const std::string folder = folder_.path();
    std::string directory = folder + '/' + std::string(259 - 4 - 100 - folder.size() - 1, 'd');
    ASSERT_EQ(directory.size() + 100 + 4, 259U);
    const std::string name(100, 'n');
    const std::string written =
        folder_.write(directory.substr(folder.size() + 1) + '/' + name + ".xfd", kDictionary);
    ASSERT_EQ(written.size(), 260U);
    ZCSetValueString("XFD_DIRECTORY", directory.c_str());
    const OwnedXfd xfd(Z4ParseXFD(name.c_str(), 0, 30));
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(xfd->x_filename, written);

    // One more character fails each attempt, and there is nothing else to try.
    listen();
    EXPECT_EQ(find(name + 'n'), "19 3 0 'Unable to open XFD file for '" + name + "n', error = 0'");
    EXPECT_EQ(attempts(), "");
    size_t told = 0;
    const std::string told_first =
        "Filename too long: <" + directory + "> concat <" + name + "n> concat <.xfd>";
    EXPECT_NE(trace_.find(told_first), std::string::npos) << trace_;
    for (size_t at = 0; (at = trace_.find("Filename too long: <", at)) != std::string::npos; ++at)
        ++told;
    EXPECT_EQ(told, 6U);
}

TEST_F(Locate, LongNamesAreCut) {
    const std::string name(400, 'n');
    listen();
    find(name);
    EXPECT_NE(attempts().find(std::string(129, 'n') + ".xfd\n"), std::string::npos) << trace_;
    EXPECT_EQ(attempts().find(std::string(130, 'n')), std::string::npos);
}

TEST_F(Locate, LastAttemptLeavesItsErrorNumber) {
    folder_.write("plain", "no directory");
    ZCSetValueString("XFD_DIRECTORY", folder_.path("plain").c_str());
    EXPECT_EQ(find("client"), "19 3 20 'Unable to open XFD file for 'client', error = 20'");
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(Locate, NoNameIsLikeAnEmptyOne) {
    EXPECT_EQ(Z4ParseXFD(nullptr, 0, 30), nullptr);
    EXPECT_EQ(file_error(), "19 3 2 'Unable to open XFD file for '', error = 2'");
}

}  // namespace
