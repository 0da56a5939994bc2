# The module's functions are for this package alone.
from typing import Any

def __getattr__(name: str) -> Any: ...
