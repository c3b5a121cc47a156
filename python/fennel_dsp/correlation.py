"""correlation family of the binding."""
__all__ = []
