#include "host/output/document.h"

#include <algorithm>
#include <stdexcept>

namespace host::output {

struct Document::Data {
    std::vector<Item> items;
    // Path of child indices from the top level to each open procedure.
    std::vector<std::vector<std::size_t>> openPaths;
    std::vector<int> openHandles;
    int nextHandle = 1;
    // Tables by handle: the path of indices to the table item.
    std::vector<std::pair<int, std::vector<std::size_t>>> tables;
    int counts[4] = {0, 0, 0, 0};
    int highest = 0;
    int currentLine = 0;
    std::vector<MessageSink*> sinks;

    std::vector<Item>& innermost() {
        if (openPaths.empty()) return items;
        return resolve(openPaths.back()).children;
    }
    Item& resolve(std::vector<std::size_t> const& path) {
        std::vector<Item>* level = &items;
        Item* item = nullptr;
        for (std::size_t index : path) {
            item = &(*level)[index];
            level = &item->children;
        }
        return *item;
    }
    std::vector<std::size_t> pathOfNew() {
        std::vector<std::size_t> path = openPaths.empty() ? std::vector<std::size_t>{}
                                                          : openPaths.back();
        path.push_back(innermost().size());
        return path;
    }
};

Document::Document() : d(std::make_unique<Data>()) {}
Document::~Document() = default;

void Document::addCommand(std::string text, int line) {
    Item item;
    item.kind = ItemKind::Command;
    item.text = std::move(text);
    item.line = line;
    add(std::move(item));
}

void Document::addTrace(std::string text) {
    Item item;
    item.kind = ItemKind::Trace;
    item.text = std::move(text);
    add(std::move(item));
}

void Document::addMessage(int level, std::string text, int line) {
    Item item;
    item.kind = ItemKind::Message;
    item.level = level;
    item.text = std::move(text);
    item.line = line != 0 ? line : d->currentLine;
    if (level >= 0 && level < 4) ++d->counts[level];
    d->highest = std::max(d->highest, level);
    // The message is in the document before any sink sees it: a sink may unwind the job.
    Item const copy = item;
    add(std::move(item));
    for (MessageSink* sink : d->sinks) sink->onMessage(copy);
}

int Document::add(Item item) {
    d->innermost().push_back(std::move(item));
    return d->nextHandle++;
}

int Document::openProcedure(std::string title) {
    std::vector<std::size_t> path = d->pathOfNew();
    Item item;
    item.kind = ItemKind::Procedure;
    item.text = std::move(title);
    d->innermost().push_back(std::move(item));
    int handle = d->nextHandle++;
    d->openPaths.push_back(std::move(path));
    d->openHandles.push_back(handle);
    return handle;
}

void Document::closeProcedure(int handle) {
    // Closing an outer block closes the blocks inside it as well.
    auto it = std::find(d->openHandles.begin(), d->openHandles.end(), handle);
    if (it == d->openHandles.end()) return;
    auto index = static_cast<std::size_t>(it - d->openHandles.begin());
    d->openHandles.resize(index);
    d->openPaths.resize(index);
}

void Document::closeAll() {
    d->openHandles.clear();
    d->openPaths.clear();
}

int Document::addTable(TableData table) {
    std::vector<std::size_t> path = d->pathOfNew();
    Item item;
    item.kind = ItemKind::Table;
    item.text = table.title;
    item.table = std::move(table);
    d->innermost().push_back(std::move(item));
    int handle = d->nextHandle++;
    d->tables.emplace_back(handle, std::move(path));
    return handle;
}

TableData& Document::table(int handle) {
    for (auto& [h, path] : d->tables) {
        if (h == handle) return d->resolve(path).table;
    }
    throw std::out_of_range("no output table with this handle");
}

std::vector<Item> const& Document::items() const { return d->items; }

int Document::messageCount(int level) const {
    return level >= 0 && level < 4 ? d->counts[level] : 0;
}

int Document::highestLevel() const { return d->highest; }

void Document::setCurrentLine(int line) { d->currentLine = line; }
int Document::currentLine() const { return d->currentLine; }

void Document::addSink(MessageSink* sink) { d->sinks.push_back(sink); }

namespace {
Document* currentDocument = nullptr;

Document& fallbackDocument() {
    // Services called outside a job (tools, the JNI entry) still have somewhere to write.
    static Document document;
    return document;
}
}  // namespace

Document& current() { return currentDocument != nullptr ? *currentDocument : fallbackDocument(); }

void setCurrent(Document* document) { currentDocument = document; }

ScopedDocument::ScopedDocument(Document& document) : previous_(currentDocument) {
    currentDocument = &document;
}

ScopedDocument::~ScopedDocument() { currentDocument = previous_; }

}  // namespace host::output
