# The fuzzers: one program for each <name>_fuzzer.cpp, one folder of the corpus.
set(TMXACTIONS_FUZZER_NAMES text_narrow text_wide bytes template_text_narrow template_text_wide
    template_bytes date_time guid format event)
