#pragma once
// The client link: files fetched for a graph specification, images and typed messages sent to the
// output.

#include <string>
#include <utility>
#include <vector>

#include "platform/viz_template.h"

class FetchFile {
public:
    // The whole text of the named file (relative names from the job's folder); empty when it
    // cannot be read, which nothing else tells.
    std::string fetch(std::string const& name, bool binary, bool quiet) const;
};

// An image put into the output as it stands.
class XImage {
public:
    void setImageInline(ChartXMLContentSubType type, std::string const& content);
    void SetDescription(unsigned short const* text);
    void sendImage() const;

private:
    ChartXMLContentSubType type_ = CONTENT_PNG;
    std::string content_;
    std::u16string description_;
};

enum IPCMessageType { IPC_PMML = 56 };

// One typed message for the client, made of numbered parts.
class MessageHandler {
public:
    void setMessageType(IPCMessageType type);
    void addMessageContents(std::string const& text, unsigned int key, bool fromFile);
    void sendMessage() const;

private:
    IPCMessageType type_ = IPC_PMML;
    struct Part {
        unsigned int key;
        std::string text;
        bool fromFile;
    };
    std::vector<Part> parts_;
};
