#include "simulator/host/wire/Package.h"

#include "simulator/host/wire/LittleEndian.h"

#include <utility>

namespace sim
{

namespace
{

/// Takes the items off the front of the bytes that are left.
class ItemReader
{
public:
    explicit ItemReader(std::string_view bytes) : rest_(bytes) {}

    bool AtEnd() const { return rest_.empty(); }

    std::optional<PackageItem> Next()
    {
        if (rest_.size() < itemHeadSize)
        {
            return std::nullopt;
        }
        const auto tag = static_cast<unsigned char>(rest_.front());
        const std::uint32_t value = LoadUint32(rest_.substr(1));
        rest_.remove_prefix(itemHeadSize);
        if (tag == integerTag)
        {
            return static_cast<std::int32_t>(value);
        }
        return tag == stringTag ? TakeString(value) : std::nullopt;
    }

private:
    std::optional<PackageItem> TakeString(std::uint32_t length)
    {
        if (rest_.size() < length)
        {
            return std::nullopt;
        }
        std::string text(rest_.substr(0, length));
        rest_.remove_prefix(length);
        return text;
    }

    std::string_view rest_;
};

} // namespace

std::string EncodeItem(const PackageItem& item)
{
    std::string bytes;
    if (const auto* const text = std::get_if<std::string>(&item))
    {
        bytes.push_back(static_cast<char>(stringTag));
        AppendUint32(bytes, static_cast<std::uint32_t>(text->size()));
        bytes.append(*text);
        return bytes;
    }
    bytes.push_back(static_cast<char>(integerTag));
    AppendUint32(bytes, static_cast<std::uint32_t>(std::get<std::int32_t>(item)));
    return bytes;
}

std::string EncodePackage(const std::vector<PackageItem>& items)
{
    std::string bytes;
    for (const PackageItem& item : items)
    {
        bytes += EncodeItem(item);
    }
    return bytes;
}

std::optional<std::vector<PackageItem>> DecodePackage(std::string_view bytes)
{
    std::vector<PackageItem> items;
    ItemReader reader(bytes);
    while (!reader.AtEnd())
    {
        std::optional<PackageItem> item = reader.Next();
        if (!item)
        {
            return std::nullopt;
        }
        items.push_back(std::move(*item));
    }
    return items;
}

} // namespace sim
