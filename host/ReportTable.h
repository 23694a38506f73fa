#pragma once

// See the source.
extern const char* const reportTable;
