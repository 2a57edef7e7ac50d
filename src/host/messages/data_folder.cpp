#include "host/messages/data_folder.h"

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "platform/host_procedure.h"

namespace host::messages {
namespace {

std::filesystem::path& folderSetting() {
    static std::filesystem::path folder = "/usr/local/share/ggraph";
    return folder;
}

class FolderPath : public PathFactory {
public:
    explicit FolderPath(std::string path) : path_(std::move(path)) {}
    std::string const& getPath() override { return path_; }
    void set(std::string path) { path_ = std::move(path); }

private:
    std::string path_;
};

std::string folderFor(int kind) {
    // 3 is the only kind the command library asks for; any other gets the data folder itself.
    if (kind == 3)
        return (folderSetting() / "messages").string();
    return folderSetting().string();
}

}  // namespace

std::filesystem::path dataFolder() {
    return folderSetting();
}

void setDataFolder(std::filesystem::path folder) {
    folderSetting() = std::move(folder);
}

}  // namespace host::messages

PathFactory* PathFactory::getPathInstance(int kind) {
    // One object per kind, owned here for the life of the process; a caller may keep the pointer.
    static std::map<int, std::unique_ptr<host::messages::FolderPath>> instances;
    auto& slot = instances[kind];
    if (!slot)
        slot = std::make_unique<host::messages::FolderPath>(host::messages::folderFor(kind));
    else
        slot->set(host::messages::folderFor(kind));
    return slot.get();
}
