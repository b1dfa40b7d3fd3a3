// Random operations on a dictionary of objects, beside std::map and the order of insertion as the model.
// Two bytes an operation: what to do, and with which key.

#include <cstdint>
#include <cstdlib>
#include <map>
#include <vector>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoNumber.h"

namespace {

struct Model {
    std::map<int, int> values;
    std::vector<int> order;

    void add(int key, int value)
    {
        if (values.emplace(key, value).second) order.push_back(key);
    }
    void set(int key, int value)
    {
        add(key, value);
        values[key] = value;
    }
    void remove(int key)
    {
        if (values.erase(key)) std::erase(order, key);
    }
};

void require(bool condition)
{
    if (!condition) std::abort();
}

// Equal numbers of two forms are one key.
ZoRef<ZoNumberRef> number(int value, bool asReal)
{
    const double real = value * 1000.0;
    const int64_t whole = int64_t{value} * 1000;
    return zoAdopt(asReal ? ZoNumberCreate(nullptr, kZoNumberDoubleType, &real)
                          : ZoNumberCreate(nullptr, kZoNumberSInt64Type, &whole));
}

int valueOf(const void* object)
{
    int64_t value = 0;
    require(ZoNumberGetValue(static_cast<ZoNumberRef>(object), kZoNumberSInt64Type, &value));
    return static_cast<int>(value / 1000);
}

void compare(ZoDictionaryRef dictionary, const Model& model)
{
    require(ZoDictionaryGetCount(dictionary) == static_cast<ZoIndex>(model.order.size()));
    std::vector<const void*> keys(model.order.size()), values(model.order.size());
    ZoDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    for (size_t i = 0; i < model.order.size(); ++i) {
        require(valueOf(keys[i]) == model.order[i]);
        require(valueOf(values[i]) == model.values.at(model.order[i]));
        require(ZoDictionaryGetValue(dictionary, keys[i]) == values[i]);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    auto dictionary = zoAdopt(
        ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    Model model;
    for (size_t i = 0; i + 1 < size && i < 8192; i += 2) {
        const int key = data[i + 1];
        const auto keyObject = number(key, data[i] & 0x80);
        const int newValue = static_cast<int>(i);
        const auto value = number(newValue, data[i] & 0x40);
        switch (data[i] & 0x0F) {
            case 0:
            case 1:
            case 2:
                ZoDictionaryAddValue(dictionary.get(), keyObject.get(), value.get()), model.add(key, newValue);
                break;
            case 3:
            case 4:
            case 5:
                ZoDictionarySetValue(dictionary.get(), keyObject.get(), value.get()), model.set(key, newValue);
                break;
            case 6:
            case 7:
            case 8:
            case 9: ZoDictionaryRemoveValue(dictionary.get(), keyObject.get()), model.remove(key); break;
            case 10: {
                const void* found = nullptr;
                const bool isThere = ZoDictionaryGetValueIfPresent(dictionary.get(), keyObject.get(), &found);
                require(isThere == (model.values.count(key) == 1));
                require(isThere ? valueOf(found) == model.values[key] : found == nullptr);
                break;
            }
            case 11: {  // from here on, the copy
                auto copy = zoAdopt(ZoDictionaryCreateMutableCopy(nullptr, key, dictionary.get()));
                require(ZoEqual(copy.get(), dictionary.get()) && ZoHash(copy.get()) == ZoHash(dictionary.get()));
                dictionary = std::move(copy);
                break;
            }
            case 12: compare(zoAdopt(ZoDictionaryCreateCopy(nullptr, dictionary.get())).get(), model); break;
            case 13:
                if (key != 0) break;
                ZoDictionaryRemoveAllValues(dictionary.get());
                model = {};
                break;
            case 14:  // a run of neighbours goes
                for (int k = key; k < key + 20; ++k) {
                    ZoDictionaryRemoveValue(dictionary.get(), number(k, false).get());
                    model.remove(k);
                }
                break;
            default:  // a run of neighbours comes
                for (int k = key; k < key + 20; ++k) {
                    ZoDictionarySetValue(dictionary.get(), number(k, false).get(), value.get());
                    model.set(k, newValue);
                }
                break;
        }
    }
    compare(dictionary.get(), model);
    return 0;
}
