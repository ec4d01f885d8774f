-- Elements come by id, categories first. Rows that share an id are all sent, each as the row
-- that came last, body included.
INSERT INTO Cat VALUES (5, 'C5', 'c', 'ACTIVE'), (1, 'C1', 'c', 'ACTIVE'),
    (4, 'First', 'one', 'ACTIVE'), (4, 'Second', 'two', 'ACTIVE');
INSERT INTO Typ VALUES (5, 'T5', 't', 'ACTIVE'), (3, 'T3', 't', 'ACTIVE'),
    (4, 'TFirst', 'x', 'ACTIVE'), (4, 'TSecond', 'y', 'ACTIVE');
INSERT INTO CatAttr VALUES (4, 'A', 137475, 1, NULL, 'ACTIVE');
