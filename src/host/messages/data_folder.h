#pragma once
// Where the host's data lives: the folder that PathFactory hands out.

#include <filesystem>

namespace host::messages {

// The host's data folder; the message tables live in its "messages" folder. By default the
// install's share folder; the runner may point it elsewhere.
std::filesystem::path dataFolder();
void setDataFolder(std::filesystem::path folder);

}  // namespace host::messages
