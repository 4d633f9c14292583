// Placeholder; replaced as the process-level tests land.
