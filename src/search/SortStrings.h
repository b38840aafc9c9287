#pragma once

#include <utility>
#include <vector>

// The index of the pivot of low..high: their mean rounded to the nearest whole number, a half
// going to the even neighbour.
constexpr int SortPivotIndex(int low, int high) {
    const long long sum = static_cast<long long>(low) + high;
    const long long half = sum >= 0 ? sum / 2 : -((-sum + 1) / 2); // floor
    if (sum % 2 == 0) {
        return static_cast<int>(half);
    }
    return static_cast<int>(half % 2 == 0 ? half : half + 1);
}

// `SortStrings`: the in-place quicksort of the program's text arrays, ascending by binary
// comparison of their bytes. Elements need operator< (std::string, std::string_view, ...).
// The larger side is looped over rather than recursed into, so no input can exhaust the stack.
template <class Text> void SortStrings(std::vector<Text>& array, int low, int high) {
    while (low < high) {
        const Text pivot = array[SortPivotIndex(low, high)];
        int i = low;
        int j = high;
        while (i <= j) {
            while (array[i] < pivot && i < high) {
                ++i;
            }
            while (pivot < array[j] && j > low) {
                --j;
            }
            if (i <= j) {
                std::swap(array[i], array[j]);
                ++i;
                --j;
            }
        }
        if (j - low < high - i) {
            if (low < j) {
                SortStrings(array, low, j);
            }
            low = i;
        } else {
            if (i < high) {
                SortStrings(array, i, high);
            }
            high = j;
        }
    }
}
