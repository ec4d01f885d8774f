-- Bodies come attributes first, then inherited categories, properties with their attributes,
-- and trees; each group in the order of its select; every status is sent as active.
-- Categories and types share their ids: links of owner 5 go to both. Inherited categories come
-- by parent id, an unknown parent as its digits; IsCatProp 0 is not read. A type id shared by
-- a category and a type names the category. A link to a property that is not there plays the
-- empty default.
INSERT INTO Cat VALUES (5, 'Base', 'Root', 'DEPRECATED'), (7, 'Tree', 'T', 'ACTIVE');
INSERT INTO Typ VALUES (5, 'Twin', 'same id', 'ACTIVE'), (20, 'File', 'F', 'OBSOLETE');
INSERT INTO TypAttr VALUES (20, 'zeta', 137475, 3, NULL, 'ACTIVE'),
    (20, 'alpha', 137476, NULL, 'text', 'INACTIVE'),
    (20, 'stray', 4242, 99, 'as text', 'ACTIVE');
INSERT INTO TypCat VALUES (20, 7, 1, 'ACTIVE'), (20, 5, 1, 'DEPRECATED'),
    (20, 99, 1, 'ACTIVE'), (20, 1, 0, 'ACTIVE');
INSERT INTO Prop VALUES (101, 'b', 'B', 5, 'CDA', 0, -1, 'ACTIVE'),
    (100, 'a', 'A', 137475, 'SUM', 0, 1, 'ACTIVE'),
    (102, 'c', 'C', -2147483648, 'XYZ', 1, 1, 'ACTIVE'),
    (103, 'd', 'D', 1028, 'BOR', 0, 1, 'ACTIVE');
INSERT INTO PropAttr VALUES (100, 'UNIT', 137476, NULL, 'byte', 'ACTIVE');
INSERT INTO TypProp VALUES (101, 20, 'ACTIVE'), (100, 20, 'ACTIVE'),
    (102, 20, 'ACTIVE'), (404, 20, 'ACTIVE');
INSERT INTO PropCat VALUES (100, 5, 'ACTIVE'), (103, 5, 'ACTIVE');
INSERT INTO TreeCat VALUES (20, 20, 7, 'ACTIVE'), (20, 5, 77, 'ACTIVE');
