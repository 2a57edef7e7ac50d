// GraphSpec: the names it transcodes and the files it validates.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "ggraph/model/ggraph_settings.h"
#include "ggraph/model/graph_spec.h"
#include "host/files/file_io.h"

namespace fs = std::filesystem;

TEST(GraphSpecModel, MapsAreValidatedOnlyWhenAsked) {
    GraphSpec spec;
    spec.SetVIZMap("World");
    EXPECT_TRUE(spec.hasViZMap());
    EXPECT_EQ(spec.GetVIZMap(), "");  // filled only by validation
    spec.SetViZMapLocation(XViZTemplate::LOCATION_REPOSITORY, "maps");
    EXPECT_TRUE(spec.validateVIZMap());
    EXPECT_EQ(spec.GetVIZMap(), "World");
    std::string folder;
    EXPECT_EQ(spec.GetViZMapLocation(folder), XViZTemplate::LOCATION_REPOSITORY);
    EXPECT_EQ(folder, "maps");

    // A reference map of a file that does not exist has no access.
    spec.SetVIZRefMap("no_such_map.json");
    EXPECT_FALSE(spec.validateVIZRefMap());
    EXPECT_EQ(spec.getViZRefMapOrig(), "no_such_map.json");
}

TEST(GraphSpecModel, StyleSheetFilesResolveAgainstTheJobFolder) {
    fs::path folder = fs::temp_directory_path() / "ggraph_graph_spec_test";
    fs::create_directories(folder);
    std::ofstream(folder / "modern.sty") << "style";
    host::files::setJobFolder(folder);

    GraphSpec local;
    local.SetVIZStyleSheet("Modern");
    EXPECT_TRUE(local.hasViZStyleSheet());
    EXPECT_TRUE(local.validateVIZStyleSheet());  // a local name is kept as it is
    EXPECT_EQ(local.GetVIZStyleSheet(), "Modern");

    GraphSpec file;
    file.SetVIZStyleSheet("modern.sty");
    file.SetViZStyleSheetLocation(XViZTemplate::LOCATION_FILE, "");
    EXPECT_TRUE(file.validateVIZStyleSheet());
    EXPECT_EQ(fs::path(file.GetVIZStyleSheet()), fs::canonical(folder / "modern.sty"));

    GraphSpec missing;
    missing.SetVIZStyleSheet("gone.sty");
    missing.SetViZStyleSheetLocation(XViZTemplate::LOCATION_FILE, "");
    EXPECT_FALSE(missing.validateVIZStyleSheet());
    EXPECT_EQ(missing.getViZStyleSheetOrig(), "gone.sty");
    host::files::setJobFolder(".");
    fs::remove_all(folder);
}

TEST(GraphSpecModel, FileSettersReplaceButGeoJsonFilesGrow) {
    GraphSpec spec;
    EXPECT_EQ(spec.getSource(), GraphSpec::SOURCE_INLINE);
    EXPECT_TRUE(spec.getEditable());
    EXPECT_EQ(spec.getImageType(), CONTENT_PNG);
    spec.AddGPLFile("a.gpl");
    spec.AddGPLFile("b.gpl");
    EXPECT_EQ(spec.GetGPLFile(), "b.gpl");
    spec.AddGEOJSONFile("one");
    spec.AddGEOJSONFile("two");
    EXPECT_EQ(spec.getNumGeoJSONFiles(), 2u);
    EXPECT_EQ(spec.getGEOJSONFile(1), "two");
    EXPECT_EQ(spec.getGEOJSONFile(5), "");
    std::string folder;
    EXPECT_EQ(spec.GetViZTemplateLocation(folder), XViZTemplate::LOCATION_LOCAL);
    EXPECT_EQ(spec.GetViZRefMapLocation(folder), XViZTemplate::LOCATION_FILE);
}

TEST(GraphSpecModel, SettingsOwnTheirSpecificationsAndKeepFitsOnceSet) {
    GGraphSettings settings;
    settings.AddGraphSpec(new GraphSpec);
    settings.AddGraphSpec(new GraphSpec);
    EXPECT_EQ(settings.GetGraphSpecs().size(), 2u);
    EXPECT_EQ(settings.GetDataSetCount(), 0);
    settings.addTotalFit();
    EXPECT_TRUE(settings.hasTotalFit());
    EXPECT_FALSE(settings.hasSubgroupFit());
    // Deleting the settings deletes the specifications (checked by the sanitizer run).
}
