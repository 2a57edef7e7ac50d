#pragma once
// The output document of a job run: everything the job produced, in order. The procedure
// services of platform/output.h write into the current document; the writers (console, HTML,
// JSON) read it. What a job produced before a failure stays in it.

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace host::output {

enum class ItemKind { Command, Trace, Procedure, Message, Table, Chart, Image, ClientMessage };

struct TableData {
    std::string title;
    std::string subtype;
    bool titleHidden = false;
    int minDataColumnWidth = 0;
    int maxDataColumnWidth = 0;
    // Dimension names with their place (0 row, 1 column, 2 layer) and category labels.
    struct Dimension {
        std::string name;
        int place = 0;
        std::vector<std::string> categories;
    };
    std::vector<Dimension> dimensions;
    // Cell values by dimension and category index, as BpCategory::Cell set them; `cells` is laid
    // out from these (see table_layout.h).
    struct Value {
        int dimension = 0;
        int category = 0;
        std::string text;
    };
    std::vector<Value> values;
    // Rows of cells as they read in the output (the first row holds headings where there are
    // any).
    std::vector<std::vector<std::string>> cells;
};

struct Item {
    ItemKind kind = ItemKind::Message;
    std::string text;   // command, trace, message text; procedure title
    int level = 0;      // messages: 2 warning, 3 error
    int line = 0;       // where in the job it came from, when known (0: not known)
    TableData table;    // tables
    // Kind-specific payload (charts, images, client messages), written into output.json as is.
    std::shared_ptr<nlohmann::json const> payload;
    std::vector<Item> children;  // what a procedure encloses
};

// Receives each message as it is reported (the console writer is one).
class MessageSink {
public:
    virtual ~MessageSink() = default;
    virtual void onMessage(Item const& message) = 0;
};

class Document {
public:
    Document();
    ~Document();
    Document(Document const&) = delete;
    Document& operator=(Document const&) = delete;

    // Items land in the innermost open procedure, or at top level.
    void addCommand(std::string text, int line = 0);
    void addTrace(std::string text);
    void addMessage(int level, std::string text, int line = 0);
    // Adds an item of any kind; returns its stable id.
    int add(Item item);

    int openProcedure(std::string title);
    void closeProcedure(int handle);
    // Closes every procedure still open (after a failure).
    void closeAll();

    // Tables are filled in place after they were added.
    int addTable(TableData table);
    TableData& table(int handle);

    std::vector<Item> const& items() const;
    int messageCount(int level) const;
    // The highest message level reported so far (0 if none).
    int highestLevel() const;

    // The line of the job the runner is at, attached to messages.
    void setCurrentLine(int line);
    int currentLine() const;

    void addSink(MessageSink* sink);

private:
    struct Data;
    std::unique_ptr<Data> d;
};

// The document the procedure services write into. The runner sets it for a job; tests set
// their own.
Document& current();
void setCurrent(Document* document);

// Makes a document current for a scope and restores the previous one.
class ScopedDocument {
public:
    explicit ScopedDocument(Document& document);
    ~ScopedDocument();

private:
    Document* previous_;
};

}  // namespace host::output
