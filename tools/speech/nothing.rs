// Cargo needs a source file.
