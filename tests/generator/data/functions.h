/* TMXACT_API void TmxAct_NotThis(void); stands in a comment alone. */
TMXACT_API uint32_t TmxAct_Version(void);
TMXACT_API bool TmxAct_Close(TmxHandle handle);
TMXACT_API const char* TmxAct_Name(void);
