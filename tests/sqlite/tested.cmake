set(tested velnor3gpp_sqlite)
find_library(VELNOR_SQLITE sqlite3)
