#pragma once

/// Prints how long the simulated host's filters take for a frame of 1280 x 800, beside a memcpy of their output's
/// bytes.
void comparePixelFilters();
