"""The measurements of the benchmark, one module for each kind, and what they share."""
