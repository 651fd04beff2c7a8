#pragma once

/// Prints how long the simulated host's filters take for a frame of 1280 x 800, and a memcpy of their output.
void comparePixelFilters();
