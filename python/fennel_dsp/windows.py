"""windows family of the binding."""
__all__ = []
