// Keeps the support library non-empty before any shared test helper exists.
