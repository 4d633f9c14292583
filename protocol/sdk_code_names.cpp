// Placeholder; replaced as the subsystem lands.
