#include "KURA_XMLParser.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <vector>

namespace KURA {

namespace {

constexpr std::size_t kMaxBytes = std::numeric_limits<std::int32_t>::max();

std::size_t GrownCapacity(std::size_t capacity, std::size_t needed) {
    std::size_t grown = std::max<std::size_t>(capacity, 1);
    while (grown < needed) {
        grown = std::min(grown * 2, kMaxBytes);
    }
    return grown;
}

}  // namespace

void TCParserDataBuffer::InsertData(const char* data, int length) {
    if (data == nullptr || length < 1) {
        return;
    }
    const std::size_t needed = m_bytes.size() + static_cast<std::size_t>(length);
    if (needed > kMaxBytes) {
        throw std::length_error("vector::_M_realloc_insert");
    }
    if (needed <= m_bytes.capacity()) {
        m_bytes.insert(m_bytes.end(), data, data + length);
        return;
    }
    // Keep the old bytes until the new ones are copied, because data may point into them.
    std::vector<char> grown;
    grown.reserve(GrownCapacity(m_bytes.capacity(), needed));
    grown.insert(grown.end(), m_bytes.begin(), m_bytes.end());
    grown.insert(grown.end(), data, data + length);
    m_bytes.swap(grown);
}

const char* TCParserDataBuffer::GetData() const {
    return m_bytes.data();
}

int TCParserDataBuffer::GetDataSize() const {
    return static_cast<int>(m_bytes.size());
}

void TCParserDataBuffer::Clear() {
    m_bytes.clear();
}

}  // namespace KURA
