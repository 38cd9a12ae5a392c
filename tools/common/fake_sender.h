// The sender "installed" as on a user's machine, for tests and benchmarks: a fresh folder
// registered as the App Paths "Path" (or, not registered, no "Path" at all), holding an empty
// "Pelloc.exe" unless told otherwise and, given a language, a "config.ini" naming it under [UI].
// Registration and folder go with the object.
#pragma once
#include <optional>
#include <string>

#include "common/registry.h"

namespace quillet::test {

class FakeSender {
public:
    explicit FakeSender(bool withExecutable = true, std::optional<std::string> language = std::nullopt,
                        bool registered = true);
    ~FakeSender();
    FakeSender(const FakeSender&) = delete;
    FakeSender& operator=(const FakeSender&) = delete;

    const std::wstring& folder() const { return m_folder; }

private:
    std::wstring m_folder;
    ScopedRegistryValue m_path;
};

} // namespace quillet::test
