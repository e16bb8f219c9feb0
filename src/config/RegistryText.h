// Exported registry files (*.reg) as a registry to read from.
#ifndef OSUPT_CONFIG_REGISTRY_TEXT_H
#define OSUPT_CONFIG_REGISTRY_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/Registry.h"

namespace OrvoSupport {

/// What the bytes of an exported file say about the keys below HKEY_LOCAL_MACHINE. The last word on a value
/// counts. The text is UTF-16LE after that byte-order mark, the ANSI code page after a first line of
/// REGEDIT4, and otherwise UTF-8. Takes any bytes: a line that makes no sense is skipped and noted.
///
/// Thread safety: any number of threads may read it.
class RegistryText {
public:
    /// An empty registry.
    RegistryText() = default;
    explicit RegistryText(std::string_view bytes);

    /// The value, or null. Names are in the ANSI code page; their case does not matter.
    const platform::RegistryValue* find(std::string_view keyPath, std::string_view valueName) const;

    /// The numbers of the lines skipped because they are damaged, from 1.
    const std::vector<std::size_t>& damagedLines() const { return m_damagedLines; }

private:
    std::unordered_map<std::wstring, platform::RegistryValue> m_values;
    std::vector<std::size_t> m_damagedLines;
};

}  // namespace OrvoSupport

#endif
