#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Values/ZoData.h"

int main()
{
    ZoDataRef data = ZoDataCreate(nullptr, nullptr, 0);
    const void* pair[] = {data};
    ZoDictionaryRef dictionary =
        ZoDictionaryCreate(nullptr, pair, pair, 1, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks);
    const bool found = ZoDictionaryContainsKey(dictionary, data);
    ZoRelease(dictionary);
    ZoRelease(data);
    return found ? 0 : 1;
}
