// Selects the lower median of an array.
#pragma once

#include <utility>

// The element of rank (n - 1) / 2, counted from 0, of a[0] .. a[n - 1] in ascending
// order: the median, or the lower of the two middle values. Reorders the array.
// Values that do not compare (NaN) may make it any of the values. T() when n < 1.
//
// Quickselect (Hoare, 1961) with a median-of-three pivot.
template <class T>
T vmedian(T* a, int n) {
  if (n < 1) return T();
  const int rank = (n - 1) / 2;
  int low = 0;
  int high = n - 1;
  while (high > low + 1) {
    // Order first, middle and last; the middle one, parked at low + 1, is the pivot,
    // and the other two stop the scans.
    std::swap(a[low + (high - low) / 2], a[low + 1]);
    if (a[low] > a[high]) std::swap(a[low], a[high]);
    if (a[low + 1] > a[high]) std::swap(a[low + 1], a[high]);
    if (a[low] > a[low + 1]) std::swap(a[low], a[low + 1]);
    const T pivot = a[low + 1];
    int i = low + 1;
    int j = high;
    for (;;) {
      // The bounds matter only for values that do not compare.
      do ++i;
      while (i < high && a[i] < pivot);
      do --j;
      while (j > low && pivot < a[j]);
      if (j <= i) break;
      std::swap(a[i], a[j]);
    }
    a[low + 1] = a[j];
    a[j] = pivot;
    if (j >= rank) high = j - 1;
    if (j <= rank) low = i;
  }
  if (high == low + 1 && a[high] < a[low]) std::swap(a[low], a[high]);
  return a[rank];
}
