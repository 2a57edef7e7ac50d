// The client link of this host: fetched files come from the file system, images and client
// messages go into the output document.
#include "platform/client.h"

#include <nlohmann/json.hpp>

#include "host/files/base64.h"
#include "host/files/file_io.h"
#include "host/output/document.h"
#include "platform/chart_string.h"

namespace {

// The kind of image the bytes hold, from their signature; null when they hold none we know.
char const* mediaType(std::string const& bytes) {
    if (bytes.rfind("\x89PNG", 0) == 0) return "image/png";
    if (bytes.rfind("\xFF\xD8\xFF", 0) == 0) return "image/jpeg";
    if (bytes.rfind("BM", 0) == 0) return "image/bmp";
    if (bytes.rfind("GIF8", 0) == 0) return "image/gif";
    if (bytes.find("<svg") != std::string::npos) return "image/svg+xml";
    return nullptr;
}

}  // namespace

std::string FetchFile::fetch(std::string const& name, bool, bool) const {
    if (name.empty()) return {};
    auto const path = host::files::resolve(name);
    host::files::ReadResult read = host::files::readFile(path);
    // The command says only that it found nothing it could use; this says why.
    if (!read.ok) {
        host::output::current().addMessage(2, read.error);
        return {};
    }
    if (read.bytes.empty()) host::output::current().addMessage(2, "file \"" + path.string() + "\" is empty");
    host::files::noteFetched(path, read.bytes);
    return std::move(read.bytes);
}

void XImage::setImageInline(ChartXMLContentSubType type, std::string const& content) {
    type_ = type;
    content_ = content;
}

void XImage::SetDescription(unsigned short const* text) {
    description_.clear();
    for (auto const* p = text; p != nullptr && *p != 0; ++p) description_ += static_cast<char16_t>(*p);
}

void XImage::sendImage() const {
    char const* const type = mediaType(content_);
    // Bytes of no image kind a reader can show would stand in the report as a broken picture.
    if (type == nullptr) {
        auto const file = host::files::fetchedFileOf(content_);
        host::output::current().addMessage(
            2, "The image " + (file.empty() ? std::string() : "\"" + file.string() + "\" ") +
                   "is not a PNG, JPEG, BMP, GIF or SVG image; it is left out of the output.");
        return;
    }
    host::output::Item item;
    item.kind = host::output::ItemKind::Image;
    std::string const description = ChartString(description_).toUTF8();
    item.text = description;
    auto payload = std::make_shared<nlohmann::json>();
    (*payload)["description"] = description;
    (*payload)["mediaType"] = type;
    (*payload)["dataUri"] = std::string("data:") + type + ";base64," + host::files::base64(content_);
    item.payload = payload;
    host::output::current().add(std::move(item));
}

void MessageHandler::setMessageType(IPCMessageType type) { type_ = type; }

void MessageHandler::addMessageContents(std::string const& text, unsigned int key, bool fromFile) {
    parts_.push_back({key, text, fromFile});
}

void MessageHandler::sendMessage() const {
    host::output::Item item;
    item.kind = host::output::ItemKind::ClientMessage;
    auto payload = std::make_shared<nlohmann::json>();
    (*payload)["messageType"] = static_cast<int>(type_);
    nlohmann::json parts = nlohmann::json::array();
    for (Part const& part : parts_)
        parts.push_back({{"key", part.key}, {"text", part.text}, {"fromFile", part.fromFile}});
    (*payload)["parts"] = parts;
    item.payload = payload;
    host::output::current().add(std::move(item));
}
