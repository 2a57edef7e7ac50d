// The client link of this host: fetched files, base64 data URIs of images, and client messages.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <nlohmann/json.hpp>

#include "host/files/base64.h"
#include "host/files/file_io.h"
#include "host/output/document.h"
#include "platform/client.h"

TEST(ClientServices, Base64MatchesTheStandardVectors) {
    // RFC 4648, section 10.
    EXPECT_EQ(host::files::base64(""), "");
    EXPECT_EQ(host::files::base64("f"), "Zg==");
    EXPECT_EQ(host::files::base64("fo"), "Zm8=");
    EXPECT_EQ(host::files::base64("foo"), "Zm9v");
    EXPECT_EQ(host::files::base64("foob"), "Zm9vYg==");
    EXPECT_EQ(host::files::base64("fooba"), "Zm9vYmE=");
    EXPECT_EQ(host::files::base64("foobar"), "Zm9vYmFy");
    EXPECT_EQ(host::files::base64(std::string("\xff\x00\x80", 3)), "/wCA");
}

TEST(ClientServices, FilesAreFetchedFromTheJobFolderAndImagesKeepTheirKind) {
    namespace fs = std::filesystem;
    fs::path folder = fs::temp_directory_path() / "ggraph_client_services";
    fs::create_directories(folder);
    std::ofstream(folder / "picture.jpg", std::ios::binary) << std::string("\xFF\xD8\xFF\xE0rest", 8);
    host::files::setJobFolder(folder);
    FetchFile fetcher;
    std::string const bytes = fetcher.fetch("picture.jpg", true, true);
    EXPECT_EQ(bytes.size(), 8u);
    EXPECT_EQ(fetcher.fetch("absent.jpg", true, true), "");
    EXPECT_EQ(fetcher.fetch("", true, true), "");

    host::output::Document document;
    {
        host::output::ScopedDocument scope(document);
        XImage image;
        // The declared type is PNG, but the bytes are a JPEG: the picture says what it is.
        image.setImageInline(CONTENT_PNG, bytes);
        std::u16string const label = u"Logo";
        image.SetDescription(reinterpret_cast<unsigned short const*>(label.c_str()));
        image.sendImage();
        MessageHandler message;
        message.setMessageType(IPC_PMML);
        message.addMessageContents("label", 0, false);
        message.addMessageContents("<PMML/>", 1, true);
        message.sendMessage();
    }
    ASSERT_EQ(document.items().size(), 2u);
    auto const& image = *document.items()[0].payload;
    EXPECT_EQ(image["description"], "Logo");
    EXPECT_EQ(image["mediaType"], "image/jpeg");
    EXPECT_EQ(image["dataUri"], "data:image/jpeg;base64," + host::files::base64(bytes));
    auto const& message = *document.items()[1].payload;
    EXPECT_EQ(message["messageType"], 56);
    EXPECT_EQ(message["parts"][1]["key"], 1);
    EXPECT_EQ(message["parts"][1]["fromFile"], true);
    host::files::setJobFolder(".");
    fs::remove_all(folder);
}
