// This device's EasyMesh role, as the platform's text for it.
#pragma once

namespace qo1905 {

inline constexpr char kController[] = "1";
inline constexpr char kAgent[] = "2";

}  // namespace qo1905
