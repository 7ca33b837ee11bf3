#pragma once

/// Keys of the platform's settings store.

/// Integer: the device reference of the device last connected, 65535 for none.
inline constexpr char LAST_PRODUCT_SETTING[] = "zevost_lastproduct";
/// Reserved: neither read nor written, but not to be used for anything else.
inline constexpr char FILE_PATH_SETTING[] = "zevost_filepath";
