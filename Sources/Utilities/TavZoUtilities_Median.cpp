#include "Utilities/TavZoUtilities_Median.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

/// A stretch of pointers, both ends included.
struct Span {
    ZoIndex left, right;
    ZoIndex count() const { return right - left + 1; }
};

/// The values equal to a pivot, once all are in their place.
using EqualBlock = Span;

class Selection {
public:
    Selection(const void** values, TavMedianCompareFunction compare) : values_(values), compare_(compare) {}

    /// The index of the value of rank `n` within the array, which is put in order as far as that takes.
    ZoIndex indexOfNthSmallest(Span span, ZoIndex n)
    {
        while (span.left < span.right) {
            const EqualBlock equal = partition(span, pivotIndex(span));
            if (n >= equal.left && n <= equal.right) return n;
            const ZoIndex before = span.count();
            span = n < equal.left ? Span{span.left, equal.left - 1} : Span{equal.right + 1, span.right};
            // The median of medians leaves at most seven tenths and a few on either side. Where more is left, the
            // comparison contradicts itself, and no value has the rank.
            if (span.count() > before / 10 * 7 + 15) return n;
        }
        return span.left;
    }

private:
    void sortByInsertion(Span span)
    {
        for (ZoIndex i = span.left + 1; i <= span.right; ++i)
            for (ZoIndex j = i; j > span.left && compare_(values_[j - 1], values_[j], nullptr) > 0; --j)
                std::swap(values_[j - 1], values_[j]);
    }

    ZoIndex pivotIndex(Span span)
    {
        constexpr ZoIndex kGroup = 5;
        if (span.count() < kGroup) {
            sortByInsertion(span);
            return span.left + (span.count() - 1) / 2;
        }
        ZoIndex medians = span.left;
        for (ZoIndex at = span.left; at <= span.right; at += kGroup) {
            const Span group{at, at + kGroup - 1 < span.right ? at + kGroup - 1 : span.right};
            sortByInsertion(group);
            std::swap(values_[medians++], values_[group.left + (group.count() - 1) / 2]);
        }
        const Span front{span.left, medians - 1};
        return indexOfNthSmallest(front, front.left + (front.count() - 1) / 2);
    }

    /// Smaller values, then equal ones with the pivot as the last of them, then greater ones.
    EqualBlock partition(Span span, ZoIndex pivot)
    {
        std::swap(values_[pivot], values_[span.right]);
        const void* pivotValue = values_[span.right];
        ZoIndex store = span.left;
        const auto gather = [&](int32_t wanted) {
            for (ZoIndex i = store; i < span.right; ++i)
                if (sign(compare_(values_[i], pivotValue, nullptr)) == wanted) std::swap(values_[store++], values_[i]);
        };
        gather(-1);
        const ZoIndex firstEqual = store;
        gather(0);
        std::swap(values_[store], values_[span.right]);
        return {firstEqual, store};
    }

    static int32_t sign(int32_t order) { return (order > 0) - (order < 0); }

    const void** values_;
    TavMedianCompareFunction compare_;
};

}  // namespace

void* TavGetMedianValueOfCArray(const void** values, ZoIndex count, TavMedianCompareFunction compare,
                                TavMedianAverageFunction average, size_t size)
{
    if (!values || count < 1 || !compare) return nullptr;
    Selection selection(values, compare);
    const Span all{0, count - 1};
    const void* upper = values[selection.indexOfNthSmallest(all, count / 2)];
    if (count % 2 == 0) {
        const void* lower = values[selection.indexOfNthSmallest(all, count / 2 - 1)];
        return average ? average(upper, lower) : nullptr;
    }
    void* copy = std::malloc(size ? size : 1);
    if (copy) std::memcpy(copy, upper, size);
    return copy;
}
