#pragma once
// Turns one GGRAPH command into a filled GGraphSettings.

#include <cstdint>
#include <memory>
#include <string>

class FacSTDictionary;
class GGraphSettings;
class ProcedureDataSource;

class GGraphParser {
public:
    GGraphParser(ProcedureDataSource* dataSource, FacSTDictionary* dictionary);
    ~GGraphParser();
    GGraphParser(GGraphParser const&) = delete;
    GGraphParser& operator=(GGraphParser const&) = delete;

    // Reads the subcommands, then the inline GPL blocks behind the command.
    [[nodiscard]] bool Parse();
    // The checks that span subcommands.
    [[nodiscard]] bool CompleteAndValidateSyntax();
    GGraphSettings* GetSettings();

    struct GGraphParserData;
    struct syntaxTracker {
        std::string keyword;
        std::int32_t subcommandCode;
        std::int32_t maxCount;  // -1: no limit
        std::int32_t seenCount;
    };

private:
    std::unique_ptr<GGraphParserData> d;
};
