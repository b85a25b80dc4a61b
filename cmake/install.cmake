# replaced below
