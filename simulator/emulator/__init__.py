"""A whole emulated instrument: a 32-bit ARM computer that boots, updates itself and boots again."""
