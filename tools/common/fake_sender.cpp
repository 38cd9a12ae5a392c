#include "common/fake_sender.h"

#include "common/files.h"
#include "sender/sender_installation.h"

namespace quillet::test {

FakeSender::FakeSender(bool withExecutable, std::optional<std::string> language, bool registered)
    : m_folder(MakeTempFolder(L"sender")), m_path(HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue)
{
    if (registered)
        m_path.SetString(m_folder);
    else
        m_path.Delete();
    if (withExecutable)
        WriteFileBytes(m_folder + L"\\" + kSenderFileName, "", 0);
    if (language) {
        // Another section first: only [UI] names the language.
        const std::string ini = "[Other]\r\nlanguage=de\r\n[UI]\r\nlanguage=" + *language + "\r\n";
        WriteFileBytes(m_folder + L"\\config.ini", ini.data(), ini.size());
    }
}

FakeSender::~FakeSender()
{
    RemoveTree(m_folder);
}

} // namespace quillet::test
