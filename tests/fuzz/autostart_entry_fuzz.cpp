#include "Require.h"
#include "platform/desktop/AutostartEntry.h"

#include <cstddef>
#include <cstdint>

// Any bytes as an autostart entry: it means something. And any text as the program in an entry of our own: it
// stays one quoted word on its line, so nothing of it is taken for a key that switches the entry off.

using namespace quillo;
using namespace Qt::Literals::StringLiterals;
using quillo::test::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto meaning = autostart::meaning(bytes);
    require(meaning == autostart::Meaning::starts || meaning == autostart::Meaning::switchedOff ||
            meaning == autostart::Meaning::nonsense);

    const QByteArray entry = autostart::entry(u"quillo"_s, QString::fromUtf8(bytes).remove(QChar::Null));
    require(entry.count('\n') == 9 && !entry.contains('\r'));
    require(autostart::meaning(entry) != autostart::Meaning::switchedOff);
    require(autostart::meaning(entry + "Hidden=true\n") != autostart::Meaning::starts);
    return 0;
}
